// Line tags: a 64-bit constant of a repository-relative source path plus the line number, in
// wrapping arithmetic, so tags of one file differ exactly by their distance in lines. The same
// function serves the compile-time tags of raising sites and the run-time tags of the logging library.
#pragma once

#include <cstdint>

namespace Platform
{

// FNV-1a over the path bytes: stable across builds and checkouts, distinct per file in practice.
constexpr std::uint64_t SourceFileConstant(const char* path)
{
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (; path != nullptr && *path != '\0'; ++path)
    {
        hash ^= static_cast<unsigned char>(*path);
        hash *= 0x100000001b3ull;
    }
    return hash;
}

constexpr std::uint64_t ComputeLineTag(const char* path, std::uint32_t line)
{
    return SourceFileConstant(path) + line;
}

} // namespace Platform
