#include "common/Random.h"

#include "common/SafeAssert.h"

#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <mutex>

namespace Common
{
namespace
{

bool SystemRandom(void* buffer, std::size_t size)
{
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    while (size > 0)
    {
        const ssize_t got = getrandom(bytes, size, 0);
        if (got < 0)
        {
            if (errno == EINTR)
            {
                continue;
            }
            return false;
        }
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

std::atomic<RandomSource> InstalledSource{nullptr};

} // namespace

void SetRandomSource(RandomSource source)
{
    InstalledSource.store(source, std::memory_order_release);
}

bool RandomBytes(void* buffer, std::size_t size, bool strict)
{
    if (const RandomSource source = InstalledSource.load(std::memory_order_acquire))
    {
        return source(buffer, size);
    }
    static std::once_flag seeded;
    std::call_once(seeded, [] { std::srand(static_cast<unsigned>(std::time(nullptr))); });
    if (SystemRandom(buffer, size))
    {
        return true;
    }
    SAFE_ASSERT(false);
    if (strict)
    {
        return false;
    }
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t i = 0; i < size; ++i)
    {
        bytes[i] = static_cast<std::uint8_t>(std::rand());
    }
    return true;
}

} // namespace Common
