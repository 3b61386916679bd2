#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace Larkhaven {

/// The sheet that lies over a message which can't be shown, or not yet: one sentence about it, and what
/// the user can do. It takes the keyboard from nobody.
class TroubleSheet : public QWidget {
    Q_OBJECT

public:
    explicit TroubleSheet(QWidget* parent = nullptr);

    /// Which of its buttons there are.
    struct Offers {
        bool isText = false; ///< "Show as Plain Text"
        bool isStop = false; ///< "Stop"
    };
    /// Shows the sentence; with an empty one the sheet goes.
    void tell(const QString& sentence, Offers offers);
    QString sentence() const;

Q_SIGNALS:
    void textRequested();
    void stopRequested();

private:
    QLabel* m_sentence;
    QPushButton* m_text;
    QPushButton* m_stop;
};

} // namespace Larkhaven
