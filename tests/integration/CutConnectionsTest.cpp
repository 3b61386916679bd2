#include "integration/CutConnections.h"

#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class CutConnectionsTest : public testing::Test {
protected:
    CutConnections::MakeProvider make() const
    {
        return [this](const TransportFactory& factory) {
            return server.provider(ConnectionSecurity::tls, nullptr, factory);
        };
    }
    MailServer server;
};

TEST_F(CutConnectionsTest, LoseAndDoubleNoMessageThatIsMoved)
{
    const MailLabel folder = await(make()(MailTransports::open)->createLabel(u"Kept"_s));
    CutConnections::moveMessages(make(), MailTransports::open, folder, {});
}

TEST_F(CutConnectionsTest, LoseAndDoubleNoMessageWhereTheServerCannotMove)
{
    const MailLabel folder = await(make()(MailTransports::open)->createLabel(u"Kept"_s));
    CutConnections::moveMessages(make(), MailTransports::open, folder, "MOVE");
}

TEST_F(CutConnectionsTest, LoseAndDoubleNoDraft)
{
    CutConnections::saveDrafts(make(), MailTransports::open);
}

} // namespace
} // namespace Larkhaven
