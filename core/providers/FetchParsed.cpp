#include "providers/FetchParsed.h"

#include "platform/Tasks.h"

namespace Larkhaven {

Task<ParsedMessage> fetchParsed(std::shared_ptr<MailProvider> provider, QString id)
{
    const QByteArray raw = co_await provider->fetchRaw(id);
    const auto parse = [raw] { return MIMEParser::parse(raw); };
    ParsedMessage message = co_await runOnWorker(parse);
    co_return message;
}

} // namespace Larkhaven
