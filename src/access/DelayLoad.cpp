#include "access/DelayLoad.h"

#include "access/Registry.h"
#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/ErrorKind.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <dlfcn.h>
#include <unistd.h>

#include <string>

namespace Windows::DelayLoad
{
namespace
{

// The loader's reasons for calling the failure hook.
enum class FailureReason
{
    LoadLibrary = 3,
    GetProcAddress = 4,
};

constexpr std::uint32_t ModuleNotFound = 126;
constexpr std::uint32_t ProcedureNotFound = 127;
constexpr std::uint32_t BadExecutableFormat = 193;

const Common::ErrorKind LibraryKind("path,$module", {Common::ErrorParameter::Type::String});
const Common::ErrorKind FunctionKind("path,function,$module", {Common::ErrorParameter::Type::String,
                                                               Common::ErrorParameter::Type::String});

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

std::string LastLoaderError()
{
    const char* text = dlerror();
    return text != nullptr ? text : "";
}

[[noreturn]] void FailureHook(FailureReason reason, std::string_view library, const char* function,
                              std::uint32_t systemError, std::string_view detail)
{
    const auto location = COMMON_LOCATION("`anonymous-namespace'::FailureHook");
    const Common::WideString name = Widen(library);
    const Common::WideString why = Widen(detail);
    Common::Error error;
    if (reason == FailureReason::LoadLibrary)
    {
        error = Common::Error(
            location, ErrorCodes::DelayLoadLibraryFailed, LibraryKind,
            Common::FormatText(Common::GetText(Common::Texts::DelayLoadLibraryFailed), {name, why}),
            {library});
    }
    else
    {
        error = Common::Error(location, ErrorCodes::DelayLoadFunctionFailed, FunctionKind,
                              Common::FormatText(Common::GetText(Common::Texts::DelayLoadFunctionFailed),
                                                 {name, Widen(function), why}),
                              {library, function});
    }
    error.AddWindowsError(location, systemError);
    throw error;
}

Common::WideString ReadConfigured(Common::WideStringView key, const Common::WideString& name)
{
    try
    {
        Registry registry(HKeyLocalMachine, KeyRead);
        registry.Open(key);
        Common::WideString path;
        registry.GetString(path, name);
        return path;
    }
    catch (const Common::Error&)
    {
        return {};
    }
}

void* Open(std::string_view library, const std::string& file)
{
    dlerror();
    void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        const std::string detail = LastLoaderError();
        // The loader tells a missing file from one it can't use only in its text; the code says which.
        const bool present = file.find('/') != std::string::npos && access(file.c_str(), F_OK) == 0;
        FailureHook(FailureReason::LoadLibrary, library, nullptr,
                    present ? BadExecutableFormat : ModuleNotFound, detail);
    }
    return module;
}

} // namespace

Common::WideString FindConfiguredPath(std::string_view library)
{
    const Common::WideString name = Widen(library);
    Common::WideString path = ReadConfigured(GlobalComponentsKey, name);
    if (path.empty())
    {
        path = ReadConfigured(CommonComponentsKey, name);
    }
    return path;
}

void* LoadConfigured(std::string_view library)
{
    const Common::WideString path = FindConfiguredPath(library);
    if (path.empty())
    {
        return nullptr;
    }
    std::string file;
    Common::WideToUtf8(file, path.c_str(), path.size());
    return Open(library, file);
}

void* Load(std::string_view library)
{
    if (void* module = LoadConfigured(library))
    {
        return module;
    }
    return Open(library, std::string(library));
}

void* GetFunction(void* module, std::string_view library, const char* function)
{
    dlerror();
    void* address = module != nullptr && function != nullptr ? dlsym(module, function) : nullptr;
    if (address == nullptr)
    {
        FailureHook(FailureReason::GetProcAddress, library, function != nullptr ? function : "",
                    ProcedureNotFound, LastLoaderError());
    }
    return address;
}

} // namespace Windows::DelayLoad
