#pragma once

#include "platform/Tasks.h"
#include "platform/Wakeup.h"

#include <QList>

#include <algorithm>
#include <exception>
#include <memory>
#include <stop_token>

namespace Larkhaven {

/// Does `work(item, stop)`, a `Task<>`, for each item, at most `width` at once: each one that ends starts the
/// next. The first failure requests the stop of all others, starts none anew, and is thrown once they have
/// ended. One thread. What `work` refers to must outlive the group.
template <typename Item, typename Work>
Task<> inGroup(QList<Item> items, qsizetype width, Work work)
{
    struct Group {
        Group(QList<Item> wanted, Work done)
            : items(std::move(wanted))
            , work(std::move(done))
        {}

        QList<Item> items;
        Work work;
        qsizetype next = 0;
        qsizetype running = 0;
        std::stop_source stop;
        std::exception_ptr failure;
        Wakeup ended;

        static Task<> run(std::shared_ptr<Group> group)
        {
            while (!group->failure && group->next < group->items.size()) {
                const Item item = group->items[group->next++];
                Task<> task = group->work(item, group->stop.get_token());
                const Outcome<void> outcome = co_await settled(std::move(task));
                if (outcome.failure && !group->failure) {
                    group->failure = outcome.failure;
                    group->stop.request_stop();
                }
            }
            if (--group->running == 0)
                group->ended.notify();
        }
    };
    if (items.isEmpty())
        co_return;
    constexpr std::chrono::milliseconds forever{-1};
    const auto group = std::make_shared<Group>(items, work);
    group->running = std::min(width, items.size());
    for (qsizetype runner = group->running; runner > 0; --runner)
        spawn(Group::run(group), dropFailure);
    while (group->running > 0)
        co_await group->ended.wait(forever);
    if (group->failure)
        std::rethrow_exception(group->failure);
}

} // namespace Larkhaven
