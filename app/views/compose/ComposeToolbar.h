#pragma once

#include <QKeySequence>
#include <QWidget>

class QLabel;
class QProgressBar;

namespace Larkhaven {

class FlatButton;
class SegmentedPicker;

/// The commands of the compose window, and what is under way in it.
class ComposeToolbar : public QWidget {
    Q_OBJECT

public:
    explicit ComposeToolbar(QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;

    void setRichText(bool richText);
    void setShowsBcc(bool isShown);
    /// Shows that something is under way; nothing with an empty text.
    void setProgress(const QString& text);
    /// While a message is being sent no command works.
    void setCommandsEnabled(bool isEnabled);
    /// The keyboard goes to the first command.
    void takeFocus(Qt::FocusReason reason);

Q_SIGNALS:
    void sendRequested();
    void saveRequested();
    void attachRequested();
    void richTextRequested(bool richText);
    void bccRequested(bool isShown);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    static void makeCommand(FlatButton& button, QLatin1StringView name, const QString& text,
                            const QKeySequence& chord);
    void layOut();
    void setCompact(bool isCompact);

    FlatButton* m_send;
    FlatButton* m_attach;
    FlatButton* m_save;
    SegmentedPicker* m_format;
    FlatButton* m_bcc;
    QLabel* m_progressText;
    QProgressBar* m_progress;
    bool m_isCompact = false;
};

} // namespace Larkhaven
