#pragma once

#include "providers/IMAPProvider.h"

#include <functional>

/// Operations whose connection is lost after every 40 bytes, and what they must leave behind.
namespace Larkhaven::CutConnections {

/// Makes a provider of an account whose connections come from the factory.
using MakeProvider = std::function<std::shared_ptr<IMAPProvider>(TransportFactory factory)>;

/// Moves two messages from the Inbox, which must be empty before, to a folder that is there: each of them
/// must be in the folder once and nowhere else. `hidden` is a capability of the server's that isn't used.
void moveMessages(const MakeProvider& make, const TransportFactory& factory, const MailLabel& folder,
                  const QByteArray& hidden);
/// Makes, renames and deletes folders that are open: each change must be made once, and all succeed.
void changeFolders(const MakeProvider& make, const TransportFactory& factory);
/// Saves drafts, each of which must be there once.
void saveDrafts(const MakeProvider& make, const TransportFactory& factory);

} // namespace Larkhaven::CutConnections
