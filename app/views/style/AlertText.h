#pragma once

#include <QLabel>
#include <QTextLayout>

#include <memory>
#include <vector>

namespace Larkhaven {

/// The text of an alert, as wide as it is told to be. A host that the alert is about is semibold and stays on
/// one line where it fits; a line that is a URL stands in a block of its own. Nothing in it is formatting.
class AlertText : public QLabel {
    Q_OBJECT

public:
    /// Of a text, in pixels at 100% and the standard text size.
    static constexpr int textWidth = 420;

    explicit AlertText(QWidget* parent = nullptr);

    /// What has passed `DisplayText::lines`, and the hosts that it is about.
    void setLines(const QString& text, const QStringList& hosts = {});
    /// The text as it is broken into rows.
    QStringList rows() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// Where hosts stand in a line of text, as offset and length: that of a line that is a URL, else the
    /// known ones, in whatever case, as words of their own. Whatever else has dots in it, be it a file, an
    /// address or a number, is none. A pure function, linear.
    static QList<std::pair<qsizetype, qsizetype>> hosts(const QString& line, const QStringList& known);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// A line of the text, laid out.
    struct Paragraph {
        std::unique_ptr<QTextLayout> layout;
        int top;
        int height;
        bool isBlock;
    };
    int lineWidth() const;
    std::vector<Paragraph> paragraphs() const;

    QStringList m_hosts;
};

} // namespace Larkhaven
