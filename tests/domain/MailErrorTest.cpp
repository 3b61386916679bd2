#include "domain/MailError.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(MailError, TellsTheUserEachCaseInItsWords)
{
    EXPECT_EQ(MailError::authFailed(u"no"_s).localizedText(), u"Sign-in failed: no");
    EXPECT_EQ(MailError::http(503, u"busy"_s).localizedText(), u"Server error 503: busy");
    EXPECT_EQ(MailError::protocolError(u"x"_s).localizedText(), u"Mail protocol error: x");
    EXPECT_EQ(MailError::unsupported(u"Can't be done."_s).localizedText(), u"Can't be done.");
    EXPECT_EQ(MailError::notSignedIn().localizedText(), u"This account needs to sign in again.");
    EXPECT_EQ(MailError::rateLimited().localizedText(),
              u"The mail server is temporarily limiting requests. Please wait a minute and try again.");
    EXPECT_EQ(MailError::cancelled().localizedText(), u"Cancelled.");
}

TEST(MailError, DoesNotTakePlaceholdersInAServersTextForItsOwn)
{
    EXPECT_EQ(MailError::http(500, u"%1 and %2"_s).localizedText(), u"Server error 500: %1 and %2");
    EXPECT_EQ(MailError::protocolError(u"100%1"_s).localizedText(), u"Mail protocol error: 100%1");
}

TEST(MailError, KeepsItsCaseAndPayload)
{
    const MailError error = MailError::http(404, u"gone"_s);
    EXPECT_EQ(error.kind(), MailError::Kind::http);
    EXPECT_EQ(error.status(), 404);
    EXPECT_EQ(error.text(), u"gone");
    EXPECT_EQ(MailError::cancelled().status(), 0);
    EXPECT_EQ(MailError::cancelled().text(), u"");
}

TEST(MailError, TellsALostConnectionByABitOfItsOwnAndNotByItsWords)
{
    for (const auto& [error, text] :
         {std::pair{MailError::connectionClosed(), u"The server closed the connection."_s},
          std::pair{MailError::connectionSilent(), u"The server stopped responding."_s}}) {
        EXPECT_EQ(error.kind(), MailError::Kind::protocolError);
        EXPECT_EQ(error.text(), text);
        EXPECT_TRUE(error.isConnectionLost());
        EXPECT_FALSE(error.mayHaveBeenSent());
        EXPECT_FALSE(MailError::protocolError(text).isConnectionLost()) << "a server may use these words";
    }
}

TEST(MailError, TellsThatAMessageMayHaveGoneOutAllTheSame)
{
    const MailError error = MailError::connectionSilent().afterHandingOver();
    EXPECT_TRUE(error.mayHaveBeenSent());
    EXPECT_TRUE(error.isConnectionLost());
    EXPECT_EQ(error.text(), u"The server stopped responding.");
    EXPECT_FALSE(MailError::protocolError(u"550 no"_s).mayHaveBeenSent());
}

TEST(LocalizedError, IsToldInItsOwnWordsAndEverythingElseInAGeneralSentence)
{
    EXPECT_EQ(localizedText(std::make_exception_ptr(MailError::cancelled())), u"Cancelled.");
    EXPECT_EQ(localizedText(std::make_exception_ptr(std::bad_alloc())), u"There is not enough memory.");
    EXPECT_EQ(localizedText(std::make_exception_ptr(std::runtime_error("secret"))),
              u"An unexpected error occurred.");
    EXPECT_EQ(localizedText(std::make_exception_ptr(1)), u"An unexpected error occurred.");
}

} // namespace
} // namespace Larkhaven
