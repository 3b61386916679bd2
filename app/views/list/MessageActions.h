#pragma once

#include "model/AppModel.h"

class QMenu;

namespace Larkhaven {

/// The menu of what can be done to messages: the context menu of the table.
class MessageActions {
public:
    using ShowSource = std::function<void(const MessageSummary&)>;

    /// `items` are rows of one account, at least one. `choose` asks where a message is to be saved.
    MessageActions(AppModel& model, QList<MessageSummary> items, AppModel::SavePanel choose,
                   ShowSource showSource)
        : m_model(model)
        , m_items(std::move(items))
        , m_choose(std::move(choose))
        , m_showSource(std::move(showSource))
    {}

    void fill(QMenu& menu) const;

    /// Shows a row in the reader; a row of the drafts is edited instead.
    static void open(AppModel& model, const MessageSummary& row);

private:
    using Action = void (AppModel::*)(const QList<MessageSummary>&);

    void addOpening(QMenu& menu) const;
    void addWriting(QMenu& menu) const;
    void addFlags(QMenu& menu) const;
    void addMoves(QMenu& menu) const;
    void addMoveMenu(QMenu& menu) const;
    void addLabelMenu(QMenu& menu) const;
    void addSender(QMenu& menu) const;
    void add(QMenu& menu, const char* name, const QString& title, Action action) const;
    bool isSingle() const { return m_items.size() == 1; }
    bool isIn(Mailbox role) const;
    ProviderKind provider() const;

    AppModel& m_model;
    QList<MessageSummary> m_items;
    AppModel::SavePanel m_choose;
    ShowSource m_showSource;
};

} // namespace Larkhaven
