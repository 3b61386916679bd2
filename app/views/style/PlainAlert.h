#pragma once

#include "domain/MailProvider.h"
#include "views/style/AlertTurn.h"
#include "views/style/Symbols.h"

#include <QMessageBox>

class QPushButton;

namespace Larkhaven {

/// An alert whose text may hold untrusted words: nothing in it is formatting. The text is 420 pixels wide, a
/// URL on a line of its own stands in a block, and the hosts that the caller names stay whole. It goes when
/// it is closed; the caller adds what it needs and opens it.
QMessageBox* makePlainAlert(const QString& title, const QString& text, QMessageBox::StandardButton button,
                            QWidget* parent, const QStringList& hosts = {});

/// Adds a button for what can't be taken back.
QPushButton* addDestructiveButton(QMessageBox& alert, const QString& text, QMessageBox::ButtonRole role);

/// Opens the alert and gives the place in `buttons` of the one that closes it; -1 if it goes otherwise. The
/// caller goes on from the event loop.
Task<qsizetype> answerTo(QMessageBox* alert, QList<QAbstractButton*> buttons,
                         AlertTurn turn = AlertTurn::now);

/// Gives such an alert, which is a question without a danger, another symbol than the warning.
void setAlertSymbol(QMessageBox& alert, Symbol symbol);

/// Gives such an alert a picture of 64 pixels in place of its symbol.
void setAlertIcon(QMessageBox& alert, const QIcon& icon);

/// Replaces the text of such an alert.
void setPlainText(QMessageBox& alert, const QString& text, const QStringList& hosts = {});

} // namespace Larkhaven
