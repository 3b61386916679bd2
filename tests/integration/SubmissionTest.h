#pragma once

#include "integration/MailServer.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace Larkhaven {

/// Tests with a submission server. They are skipped where none is to be had, since it needs root or a sudo
/// that asks for nothing.
class SubmissionTest : public testing::Test {
protected:
    void start(const QStringList& options = {})
    {
        const QStringList empty{QStringLiteral("--messages"), QStringLiteral("empty")};
        try {
            m_server = std::make_unique<MailServer>(empty + options, MailServer::Submission::postfix);
        } catch (const std::runtime_error& error) {
            const QByteArray text = error.what();
            if (!text.contains("it needs root") && !text.contains("is not to be had") &&
                !text.contains("is not installed"))
                throw;
            GTEST_SKIP() << text.constData();
        }
    }

    MailServer& server() { return *m_server; }

private:
    std::unique_ptr<MailServer> m_server;
};

} // namespace Larkhaven
