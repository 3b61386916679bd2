#include "domain/LocalizedError.h"

#include <QCoreApplication>

#include <new>

namespace Larkhaven {

QString localizedText(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const LocalizedError& error) {
        return error.localizedText();
    } catch (const std::bad_alloc&) {
        return QCoreApplication::translate("LocalizedError", "There is not enough memory.");
    } catch (...) {
        return QCoreApplication::translate("LocalizedError", "An unexpected error occurred.");
    }
}

} // namespace Larkhaven
