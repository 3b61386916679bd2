#include "views/setup/ServerFields.h"

#include "domain/Text.h"
#include "views/style/FocusedWheel.h"
#include "views/style/Picker.h"
#include "views/style/Style.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScopedValueRollback>
#include <QSpinBox>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ServerFields::ServerFields(QFormLayout& form, const Names& names, Ports ports, const QString& objectName,
                           QObject* parent)
    : QObject(parent)
    , m_ports(ports)
    , m_host(new QLineEdit)
    , m_port(new FocusedWheel<QSpinBox>)
    , m_security(new Picker)
{
    constexpr int largestPort = 65535;
    m_host->setObjectName(objectName + u"Host"_s);
    m_host->setPlaceholderText(tr("Server"));
    m_host->setAccessibleName(names.host);
    m_port->setObjectName(objectName + u"Port"_s);
    m_port->setAccessibleName(names.port);
    m_port->setRange(1, largestPort);
    m_port->setButtonSymbols(QSpinBox::NoButtons);
    m_port->setGroupSeparatorShown(false);
    m_security->setObjectName(objectName + u"Security"_s);
    m_security->setAccessibleName(names.security);
    for (const ConnectionSecurity security : allConnectionSecurities)
        m_security->addItem(label(security), QVariant::fromValue(static_cast<int>(security)));
    auto* const line = new QHBoxLayout;
    line->setSpacing(Style::smallPadding);
    line->addWidget(new QLabel(tr("Port")));
    line->addWidget(m_port);
    line->addSpacing(Style::smallPadding);
    line->addWidget(new QLabel(tr("Security")));
    line->addWidget(m_security, 1);
    form.addRow(names.title, m_host);
    form.addRow(QString(), line);

    connect(m_host, &QLineEdit::textChanged, this, [this] {
        if (!m_isShowing)
            Q_EMIT edited();
    });
    connect(m_port, &QSpinBox::valueChanged, this, &ServerFields::notePort);
    connect(m_security, &QComboBox::currentIndexChanged, this, &ServerFields::noteSecurity);
}

ServerFields::Values ServerFields::values() const
{
    return {Text::trimmedSpace(m_host->text()).toString(), m_port->value(),
            static_cast<ConnectionSecurity>(m_security->currentData().toInt())};
}

void ServerFields::show(const Values& values)
{
    const QScopedValueRollback showing(m_isShowing, true);
    m_host->setText(values.host);
    m_port->setValue(values.port);
    m_security->setCurrentIndex(m_security->findData(static_cast<int>(values.security)));
    m_isPortTyped = values.port != m_ports.tls && values.port != m_ports.startTLS;
}

void ServerFields::focus()
{
    m_host->setFocus();
    m_host->selectAll();
}

void ServerFields::setFieldWidth(int fieldWidth)
{
    constexpr double portWidth = 5;
    m_host->setFixedWidth(fieldWidth);
    m_port->setFixedWidth(Style::shared().scaled(portWidth));
}

void ServerFields::notePort()
{
    if (m_isShowing)
        return;
    m_isPortTyped = true;
    Q_EMIT edited();
}

void ServerFields::noteSecurity()
{
    if (m_isShowing)
        return;
    if (!m_isPortTyped) {
        const QScopedValueRollback showing(m_isShowing, true);
        m_port->setValue(usualPort(values().security));
    }
    Q_EMIT edited();
}

int ServerFields::usualPort(ConnectionSecurity security) const
{
    return security == ConnectionSecurity::tls ? m_ports.tls : m_ports.startTLS;
}

} // namespace Larkhaven
