#include "views/list/SearchLine.h"

#include "views/style/DisplayText.h"

#include <QPushButton>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SearchLine::SearchLine(AppModel& model, QWidget* parent)
    : QuietLine(std::nullopt, tr("Clear"), parent)
    , m_model(model)
{
    setObjectName("searchLine"_L1);
    button().setObjectName("clearSearch"_L1);
    button().setAccessibleName(tr("Clear Search"));
    connect(this, &QuietLine::clicked, this, [this] {
        if (parentWidget())
            parentWidget()->setFocus();
        m_model.setSearchText({});
        m_model.start(m_model.applySearch());
    });
    for (const auto signal :
         {&AppModel::messagesChanged, &AppModel::pagingChanged, &AppModel::isLoadingChanged,
          &AppModel::sidebarSelectionChanged, &AppModel::accountsChanged, &AppModel::listedQueryChanged})
        connect(&model, signal, this, &SearchLine::update);
    update();
}

QString SearchLine::words() const
{
    constexpr qsizetype longestQuery = 60;
    const std::optional<Account> account = m_model.selectedAccount();
    if (!m_model.listedQuery() || !account || !m_model.sidebarSelection())
        return {};
    const QString query = DisplayText::bounded(*m_model.listedQuery(), longestQuery);
    const QString mailbox = DisplayText::bounded(m_model.sidebarSelection()->ref.name(account->provider));
    if (!m_model.isListingAnswered())
        return m_model.isLoading() ? tr("Searching for “%1” in %2…").arg(query, mailbox)
                                   : tr("No answer about “%1” in %2").arg(query, mailbox);
    // Google only estimates how many there are.
    const bool isCounted = account->provider != ProviderKind::google && m_model.total();
    if (!isCounted)
        return tr("Results for “%1” in %2").arg(query, mailbox);
    const auto count =
        static_cast<int>(std::clamp<qint64>(*m_model.total(), 0, std::numeric_limits<int>::max()));
    return tr("%Ln results for “%1” in %2", nullptr, count).arg(query, mailbox);
}

void SearchLine::update()
{
    const QString text = words();
    setText(text);
    setVisible(!text.isEmpty());
}

} // namespace Larkhaven
