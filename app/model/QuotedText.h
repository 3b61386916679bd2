#pragma once

#include "format/ParsedMessage.h"

#include <QString>
#include <QStringList>

#include <functional>

/// What an answer quotes of a message, and a forward brings of it. Pure, callable from any thread, but work
/// for a worker.
namespace Larkhaven::QuotedText {

struct Quoted {
    QString text;
    /// The plain text of the message says something else than what the reader shows of it, and was left out.
    bool hasOtherText = false;
};

/// What a forward says of a message within the message, line by line.
using HeadOf = std::function<QStringList(const MIMEHeaders& headers)>;

/// The plain text of the message; where there is none, or its HTML shows something else
/// (`TextComparison::saysSomethingElse`), the text that the reader shows. `snippet` where it has neither.
/// What is longer than a draft takes (`DraftGate::mostCharacters`) may be cut.
Quoted of(const ParsedMessage& message, const QString& snippet, const HeadOf& headOf);

} // namespace Larkhaven::QuotedText
