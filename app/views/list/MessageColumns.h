#pragma once

#include "model/SortField.h"

#include <QLatin1StringView>
#include <QString>

#include <array>
#include <optional>

namespace Larkhaven {

/// The columns of the message table, in their order.
enum class MessageColumn { unread, star, attachments, from, subject, date, mailbox, size };
inline constexpr std::array allMessageColumns{
    MessageColumn::unread,  MessageColumn::star, MessageColumn::attachments, MessageColumn::from,
    MessageColumn::subject, MessageColumn::date, MessageColumn::mailbox,     MessageColumn::size};

/// The name under which the customization of columns is stored.
QLatin1StringView columnID(MessageColumn column);
/// The header's text; the name of the state for the columns that show an image.
QString columnTitle(MessageColumn column);
bool isVisibleAtFirst(MessageColumn column);
/// By what a click on the header sorts; absent: by nothing.
std::optional<SortField> sortFieldOf(MessageColumn column);

} // namespace Larkhaven
