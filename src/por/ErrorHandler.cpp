#include "por/ErrorHandler.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"

namespace Por
{

ThrowingErrorHandler& ThrowingErrorHandler::Instance()
{
    static ThrowingErrorHandler instance;
    return instance;
}

void ThrowingErrorHandler::PropertyNotFound(std::string_view name)
{
    throw MakePropertyNotFoundError(COMMON_LOCATION("Por::ThrowingErrorHandler::PropertyNotFound"), name);
}

void ThrowingErrorHandler::PropertyProcessingError(std::string_view name, const Common::Error& error)
{
    Common::Error failure =
        MakeError(COMMON_LOCATION("Por::ThrowingErrorHandler::PropertyProcessingError"), ErrorCodes::General,
                  Common::Texts::PorPropertyProcessingError, {Widen(name)});
    throw failure.SetSubError(error);
}

void ThrowingErrorHandler::Report(const Common::Error& error)
{
    if (error.GetCode() != 0)
    {
        throw error;
    }
}

} // namespace Por
