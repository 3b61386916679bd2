#pragma once

#include "views/richtext/ComposeFormat.h"

#include <QFont>
#include <QString>
#include <QTextDocumentFragment>

/// What the HTML of a paste or a drop brings into a text.
namespace Larkhaven::PastedHTML {

/// What may come in of it, as `DraftGate` lets it through. Callable from any thread.
QString harmless(const QString& html);

/// As rich text, without colours that would not be seen here. Main thread, as for the other.
QTextDocumentFragment fragment(const QString& harmless, const QFont& font, const ComposeFormat::Sizes& sizes);
QString plainText(const QString& harmless, const ComposeFormat::Sizes& sizes);

} // namespace Larkhaven::PastedHTML
