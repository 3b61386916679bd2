#include "app/platform/ActivatableApplication.h"

#include "app/platform/SingleInstance.h"

namespace Larkhaven {

ActivatableApplication::ActivatableApplication(SingleInstance& instance)
    : QDBusAbstractAdaptor(&instance)
    , m_instance(instance)
{}

void ActivatableApplication::Activate(const QVariantMap&)
{
    m_instance.take({});
}

void ActivatableApplication::Open(const QStringList& urls, const QVariantMap&)
{
    m_instance.take(urls);
}

void ActivatableApplication::ActivateAction(const QString&, const QVariantList&, const QVariantMap&)
{
    m_instance.take({});
}

} // namespace Larkhaven
