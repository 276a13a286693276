// Sets or removes an environment variable for the life of the object and puts its old value back.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace Testing
{

class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* name, const char* value) : Name(name)
    {
        if (const char* old = std::getenv(name))
        {
            Saved = old;
        }
        Set(value);
    }
    ~ScopedEnvironment() { Set(Saved ? Saved->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    // A null value removes the variable.
    void Set(const char* value) const { value != nullptr ? setenv(Name, value, 1) : unsetenv(Name); }

private:
    const char* Name;
    std::optional<std::string> Saved;
};

} // namespace Testing
