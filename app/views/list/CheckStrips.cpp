#include "views/list/CheckStrips.h"

#include "views/style/DisplayText.h"
#include "views/style/QuietLine.h"
#include "views/style/RowText.h"

#include <QApplication>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

CheckStrips::CheckStrips(AppModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_layout(new QVBoxLayout(this))
{
    setObjectName("checkStrips"_L1);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    connect(&model, &AppModel::failedChecksChanged, this, &CheckStrips::update);
    connect(&model, &AppModel::accountsChanged, this, &CheckStrips::update);
    update();
}

QString CheckStrips::textOf(const CheckResults::Failure& failure, const QDateTime& now)
{
    QString text = DisplayText::bounded(failure.text).trimmed();
    if (!text.endsWith(u'.') && !text.endsWith(u'…'))
        text += u'.';
    if (!failure.lastChecked.isValid())
        return text;
    return tr("%1 Last checked %2.", "a sentence, then a time")
        .arg(text, RowText::date(failure.lastChecked, now));
}

void CheckStrips::update()
{
    const QList<CheckResults::Failure>& failures = m_model.failedChecks();
    QWidget* const focused = QApplication::focusWidget();
    const bool holdsFocus = focused && isAncestorOf(focused);
    // Strips stay where they are, so that a press doesn't meet another one.
    while (m_layout->count() > failures.size()) {
        QWidget* const strip = m_layout->itemAt(m_layout->count() - 1)->widget();
        m_layout->removeWidget(strip);
        strip->hide();
        strip->deleteLater();
    }
    while (m_layout->count() < failures.size()) {
        auto* const strip = new QuietLine(Symbol::warning, tr("Try Again"));
        strip->setObjectName("checkStrip"_L1);
        strip->button().setObjectName("tryAgain"_L1);
        connect(strip, &QuietLine::clicked, this, [this] { m_model.start(m_model.tryAgain()); });
        m_layout->addWidget(strip);
    }
    for (qsizetype row = 0; row < failures.size(); ++row) {
        auto* const strip = static_cast<QuietLine*>(m_layout->itemAt(static_cast<int>(row))->widget());
        strip->setText(textOf(failures[row], QDateTime::currentDateTime()));
        const auto account = std::ranges::find(m_model.accounts(), failures[row].accountID, &Account::id);
        const QString title = account == m_model.accounts().end() ? QString() : account->title();
        strip->button().setAccessibleName(tr("Try %1 Again", "an account").arg(DisplayText::bounded(title)));
    }
    setVisible(!failures.isEmpty());
    if (holdsFocus && failures.isEmpty() && parentWidget())
        parentWidget()->setFocus();
}

} // namespace Larkhaven
