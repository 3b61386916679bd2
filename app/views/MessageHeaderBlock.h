#pragma once

#include "domain/Message.h"
#include "format/MIMEHeaders.h"

#include <QDateTime>
#include <QWidget>

#include <optional>

class QGridLayout;
class QLabel;

namespace Larkhaven {

class FlatButton;

/// The headers of the message in the reader: its subject, then who, to whom and when, all of it selectable.
class MessageHeaderBlock : public QWidget {
    Q_OBJECT

public:
    explicit MessageHeaderBlock(QWidget* parent = nullptr);

    /// `fallbackDate` is shown where the headers have no date that can be read.
    void setHeaders(const MIMEHeaders& headers, const std::optional<QDateTime>& fallbackDate);

Q_SIGNALS:
    void backRequested();

private:
    struct Row {
        QLabel* name;
        QLabel* value;
    };

    Row addRow(const QString& name, const QString& objectName);
    void setAddresses(const Row& row, const QList<EmailAddress>& addresses, const QString& placeholder);
    void applyStyle();

    FlatButton* m_back;
    QLabel* m_subject;
    QGridLayout* m_grid;
    Row m_from;
    Row m_to;
    Row m_cc;
    Row m_date;
};

} // namespace Larkhaven
