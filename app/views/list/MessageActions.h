#pragma once

#include "model/AppModel.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>

namespace Larkhaven {

/// The items of a menu for what can be done to messages: of the table's context menu, which shows what fits
/// them, and of the "Message" menu of the menu bar, which shows all with their shortcuts and turns off what
/// doesn't fit at the moment.
class MessageActions : public QObject {
    Q_OBJECT

public:
    enum class Place { contextMenu, menuBar };
    /// The rows that are acted on, all of one account; asked for anew each time.
    using Items = std::function<QList<MessageSummary>()>;
    using ShowSource = std::function<void(const MessageSummary&)>;

    /// Fills the menu, which must outlive this. `choose` asks where a message is to be saved.
    MessageActions(AppModel& model, QMenu& menu, Place place, Items items, AppModel::SavePanel choose,
                   ShowSource showSource);

    /// The most labels that a menu lists, and the longest of their names there, in UTF-16 units: a service
    /// may have as many as it likes. The sidebar has them all.
    static constexpr qsizetype mostLabels = 500;
    static constexpr qsizetype longestTitle = 60;

    /// Takes over what the rows are now.
    void update();

    /// Shows a row in the reader; a row of the drafts is edited instead.
    static void open(AppModel& model, const MessageSummary& row);

private:
    using Rows = QList<MessageSummary>;
    struct State {
        bool isOn = false;
        QString title;
    };
    using Follow = std::function<State(const Rows&)>;
    using Perform = std::function<void(const Rows&)>;
    struct Item {
        QAction* action;
        Follow follow;
    };

    void addOpening();
    void addWriting();
    void addFlags();
    void addMoves();
    void addSender();
    void add(const char* name, Follow follow, Perform perform, const QList<QKeySequence>& chords);
    /// A menu below this one, filled when it opens.
    void addMenu(const char* name, Follow follow,
                 void (MessageActions::*fill)(QMenu& menu, const Rows& rows));
    void addLine() { m_isLineWanted = true; }
    /// Whether the item is to be added, the line before it included.
    bool begin(const Follow& follow);
    void fillMoves(QMenu& menu, const Rows& rows);
    void fillLabels(QMenu& menu, const Rows& rows);

    QList<MailLabel> shownLabels(const Rows& rows) const;
    bool isIn(Mailbox role) const;
    /// Of the rows' account, else of the selected one.
    ProviderKind provider(const Rows& rows) const;

    AppModel& m_model;
    QMenu& m_menu;
    Place m_place;
    Items m_items;
    AppModel::SavePanel m_choose;
    ShowSource m_showSource;
    QList<Item> m_actions;
    bool m_isLineWanted = false;
};

} // namespace Larkhaven
