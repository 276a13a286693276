#include "access/Registry.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/FormatText.h"
#include "common/SystemMessages.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>

namespace Windows
{
namespace
{

constexpr std::uint32_t FileNotFound = 2;
constexpr std::uint32_t AccessDenied = 5;
constexpr std::uint32_t InvalidHandle = 6;
constexpr std::uint32_t BadDatabase = 1009;

std::mutex RootMutex;
std::string RootOverride;

const char* RootName(RegistryRoot root)
{
    switch (root)
    {
    case HKeyClassesRoot:
        return "HKEY_CLASSES_ROOT";
    case HKeyCurrentUser:
        return "HKEY_CURRENT_USER";
    case HKeyLocalMachine:
        return "HKEY_LOCAL_MACHINE";
    case HKeyUsers:
        return "HKEY_USERS";
    default:
        return nullptr;
    }
}

char16_t Lower(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

bool EqualNoCase(Common::WideStringView left, Common::WideStringView right)
{
    if (left.size() != right.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < left.size(); ++i)
    {
        if (Lower(left[i]) != Lower(right[i]))
        {
            return false;
        }
    }
    return true;
}

Common::WideStringView Trim(Common::WideStringView text, Common::WideStringView blanks)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == Common::WideStringView::npos)
    {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

Common::WideStringView TrimBlanks(Common::WideStringView text)
{
    return Trim(text, u" \t\r");
}

// A key path as the file and callers may spell it: no blanks or separators at either end.
Common::WideStringView NormalizePath(Common::WideStringView path)
{
    return Trim(TrimBlanks(path), u"\\");
}

// Whether the file's key `section` is `path` or lies below it.
bool Covers(Common::WideStringView section, Common::WideStringView path)
{
    if (path.empty())
    {
        return true;
    }
    if (section.size() < path.size() || !EqualNoCase(section.substr(0, path.size()), path))
    {
        return false;
    }
    return section.size() == path.size() || section[path.size()] == u'\\';
}

Common::WideStringView Unquote(Common::WideStringView text)
{
    if (text.size() >= 2 && text.front() == u'"' && text.back() == u'"')
    {
        return text.substr(1, text.size() - 2);
    }
    return text;
}

Common::Error MakeError(std::uint32_t code, Common::WideTextId text,
                        std::initializer_list<Common::WideStringView> arguments, std::uint32_t systemError,
                        const Common::ErrorLocation& location)
{
    Common::Error error(location, code, Common::FormatText(Common::GetText(text), arguments));
    error.AddWindowsError(location, systemError);
    return error;
}

// Reads the store file of a root; a missing file is an empty store. Returns 0 or the system error.
std::uint32_t ReadStore(const std::string& file, Common::WideString& content)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
    {
        const int error = errno;
        return error == ENOENT ? 0 : Common::WindowsErrorFromErrno(error);
    }
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad())
    {
        return Common::WindowsErrorFromErrno(errno);
    }
    if (bytes.find('\0') != std::string::npos || !Common::Utf8ToWide(content, bytes.data(), bytes.size()))
    {
        return BadDatabase;
    }
    return 0;
}

} // namespace

std::string GetConfigurationRoot()
{
    {
        std::lock_guard lock(RootMutex);
        if (!RootOverride.empty())
        {
            return RootOverride;
        }
    }
    const char* environment = std::getenv("VELTRIX_CONFIG_ROOT");
    return environment != nullptr && *environment != '\0' ? environment : "/etc/veltrix";
}

void SetConfigurationRoot(std::string directory)
{
    std::lock_guard lock(RootMutex);
    RootOverride = std::move(directory);
}

bool Registry::CaseInsensitiveLess::operator()(Common::WideStringView left,
                                               Common::WideStringView right) const
{
    const std::size_t length = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < length; ++i)
    {
        const char16_t a = Lower(left[i]);
        const char16_t b = Lower(right[i]);
        if (a != b)
        {
            return a < b;
        }
    }
    return left.size() < right.size();
}

Registry::Registry(RegistryRoot root, std::uint32_t access) : Root(root), Access(access) {}

Common::WideString Registry::KeyText() const
{
    Common::WideString text;
    for (const char* name = RootName(Root); name != nullptr && *name != '\0'; ++name)
    {
        text += static_cast<char16_t>(*name);
    }
    if (!Path.empty())
    {
        text += u'\\';
        text += Path;
    }
    return text;
}

void Registry::Open(Common::WideStringView path)
{
    Opened = false;
    Values.clear();
    Path = NormalizePath(path);
    const auto fail = [this](std::uint32_t systemError)
    {
        return MakeError(ErrorCodes::RegistryOpenFailed, Common::Texts::RegistryOpenFailed, {KeyText()},
                         systemError, COMMON_LOCATION("Windows::Registry::Open"));
    };

    const char* rootName = RootName(Root);
    if (rootName == nullptr)
    {
        throw fail(InvalidHandle);
    }
    if ((Access & (KeySetValue | KeyCreateSubKey)) != 0)
    {
        throw fail(AccessDenied);
    }
    Common::WideString content;
    if (const std::uint32_t error = ReadStore(GetConfigurationRoot() + "/" + rootName + ".conf", content))
    {
        throw fail(error);
    }

    bool exists = Path.empty();
    bool inKey = Path.empty();
    Common::WideStringView rest(content);
    while (!rest.empty())
    {
        const std::size_t end = rest.find(u'\n');
        const Common::WideStringView line = TrimBlanks(rest.substr(0, end));
        rest = end == Common::WideStringView::npos ? Common::WideStringView() : rest.substr(end + 1);
        if (line.empty() || line.front() == u'#' || line.front() == u';')
        {
            continue;
        }
        if (line.front() == u'[')
        {
            if (line.back() != u']')
            {
                throw fail(BadDatabase);
            }
            const Common::WideStringView section = NormalizePath(line.substr(1, line.size() - 2));
            inKey = EqualNoCase(section, Path);
            exists = exists || Covers(section, Path);
            continue;
        }
        const std::size_t equals = line.find(u'=');
        if (equals == Common::WideStringView::npos)
        {
            throw fail(BadDatabase);
        }
        if (inKey)
        {
            Common::WideStringView name = TrimBlanks(line.substr(0, equals));
            if (name == u"@")
            {
                name = {};
            }
            Values.insert_or_assign(Common::WideString(name),
                                    Common::WideString(Unquote(TrimBlanks(line.substr(equals + 1)))));
        }
    }
    if (!exists)
    {
        Values.clear();
        throw fail(FileNotFound);
    }
    Opened = true;
}

void Registry::GetString(Common::WideString& out, Common::WideStringView name) const
{
    const auto fail = [&](std::uint32_t systemError)
    {
        return MakeError(ErrorCodes::RegistryReadFailed, Common::Texts::RegistryReadFailed, {KeyText(), name},
                         systemError, COMMON_LOCATION("Windows::Registry::GetString"));
    };
    if (!Opened)
    {
        throw fail(InvalidHandle);
    }
    const auto found = Values.find(name);
    if (found == Values.end())
    {
        throw fail(FileNotFound);
    }
    out = found->second;
}

} // namespace Windows
