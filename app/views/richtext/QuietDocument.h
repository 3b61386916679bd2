#pragma once

#include <QTextDocument>

namespace Larkhaven {

/// A document that loads nothing, whatever it holds and whoever asks: no file, no resource of the program,
/// nothing from the network.
///
/// NB: no answer at all would have Qt look for itself: an invalid value, or an empty image, ends in its own
/// loader, which opens local files.
class QuietDocument : public QTextDocument {
    Q_OBJECT

public:
    using QTextDocument::QTextDocument;

protected:
    QVariant loadResource(int type, const QUrl& name) override;
};

} // namespace Larkhaven
