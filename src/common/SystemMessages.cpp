#include "common/SystemMessages.h"

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace Common
{
namespace
{

struct StatusText
{
    std::uint32_t Status;
    const char16_t* Text;
};

// The texts as the system's message tables give them, line ends included.
constexpr StatusText WindowsErrors[] = {
    {0, u"The operation completed successfully.\r\n"},
    {1, u"Incorrect function.\r\n"},
    {2, u"The system cannot find the file specified.\r\n"},
    {3, u"The system cannot find the path specified.\r\n"},
    {5, u"Access is denied.\r\n"},
    {6, u"The handle is invalid.\r\n"},
    {8, u"Not enough memory resources are available to process this command.\r\n"},
    {14, u"Not enough memory resources are available to complete this operation.\r\n"},
    {31, u"A device attached to the system is not functioning.\r\n"},
    {32, u"The process cannot access the file because it is being used by another process.\r\n"},
    {87, u"The parameter is incorrect.\r\n"},
    {112, u"There is not enough space on the disk.\r\n"},
    {122, u"The data area passed to a system call is too small.\r\n"},
    {170, u"The requested resource is in use.\r\n"},
    {183, u"Cannot create a file when that file already exists.\r\n"},
    {1008, u"An attempt was made to reference a token that does not exist.\r\n"},
    {1314, u"A required privilege is not held by the client.\r\n"},
    {1460, u"This operation returned because the timeout period expired.\r\n"},
};

constexpr StatusText NtStatuses[] = {
    {0x00000000, u"STATUS_SUCCESS\r\n"},
    {0xC0000017, u"{Not Enough Quota}\r\nNot enough virtual memory or paging file quota is available to "
                 u"complete the specified operation.\r\n"},
    {0xC0000022, u"{Access Denied}\r\nA process has requested access to an object, but has not been "
                 u"granted those access rights.\r\n"},
    {0xC0000034, u"Object Name not found.\r\n"},
    {0xC000009A, u"Insufficient system resources exist to complete the API.\r\n"},
};

template <std::size_t N>
const char16_t* Find(const StatusText (&table)[N], std::uint32_t status)
{
    for (const StatusText& entry : table)
    {
        if (entry.Status == status)
        {
            return entry.Text;
        }
    }
    return nullptr;
}

// Values without a text are named, so a log still says what the system reported.
WideString NameValue(const char* prefix, std::uint32_t status)
{
    char buffer[48];
    const int length = std::snprintf(buffer, sizeof buffer, "%s 0x%08X.\r\n", prefix, status);
    return WideString(buffer, buffer + length);
}

WideString BuiltInSource(std::uint32_t status, bool ntStatus)
{
    if (ntStatus)
    {
        const char16_t* text = Find(NtStatuses, status);
        return text != nullptr ? WideString(text) : NameValue("NTSTATUS", status);
    }
    std::uint32_t code = status;
    if ((status & 0xFFFF0000u) == 0x80070000u)
    {
        code = status & 0xFFFFu;
    }
    else if (status > 0xFFFFu)
    {
        return NameValue("HRESULT", status);
    }
    const char16_t* text = Find(WindowsErrors, code);
    return text != nullptr ? WideString(text) : NameValue("HRESULT", status);
}

std::atomic<SystemMessageSource> CurrentSource{BuiltInSource};

} // namespace

SystemMessageSource SetSystemMessageSource(SystemMessageSource source)
{
    return CurrentSource.exchange(source != nullptr ? source : BuiltInSource);
}

WideString GetSystemMessage(std::uint32_t status, bool ntStatus)
{
    return CurrentSource.load()(status, ntStatus);
}

std::uint32_t WindowsErrorFromErrno(int error)
{
    switch (error)
    {
    case 0:
        return 0;
    case ENOENT:
        return 2;
    case EPERM:
    case EACCES:
        return 5;
    case EBADF:
        return 6;
    case ENOMEM:
    case EAGAIN:
        return 8;
    case EINVAL:
        return 87;
    case ENOSPC:
        return 112;
    case EBUSY:
        return 170;
    case EEXIST:
        return 183;
    case ETIMEDOUT:
        return 1460;
    default:
        return 31;
    }
}

} // namespace Common
