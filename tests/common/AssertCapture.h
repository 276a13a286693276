// Records the safe-assert reports of every thread while alive: only the event hook reports, and the
// flags in force before come back afterwards. One capture at a time, as the hook is process-wide.
#pragma once

#include "common/SafeAssert.h"

#include <mutex>
#include <string>
#include <vector>

namespace Testing
{

class AssertCapture
{
public:
    AssertCapture()
    {
        // Read the environment now, or the first report would read it and replace the flags set here.
        Common::Detail::InitialiseSafeAssertForTesting();
        SavedFlags = Common::GetSafeAssertFlags();
        std::lock_guard<std::mutex> guard(Lock);
        Texts.clear();
        Common::SetSafeAssertFlags(Common::SafeAssertEvent);
        Common::SetSafeAssertEventHook(Record);
    }
    ~AssertCapture()
    {
        Common::SetSafeAssertEventHook(nullptr);
        Common::SetSafeAssertFlags(SavedFlags);
    }
    AssertCapture(const AssertCapture&) = delete;
    AssertCapture& operator=(const AssertCapture&) = delete;

    // The expressions of the reports ("Assertion failed: <expression>, file <file>, line <line>"), in order.
    std::vector<std::string> Expressions() const
    {
        const std::string prefix = "Assertion failed: ";
        std::lock_guard<std::mutex> guard(Lock);
        std::vector<std::string> expressions;
        for (const std::string& text : Texts)
        {
            expressions.push_back(text.rfind(prefix, 0) == 0
                                      ? text.substr(prefix.size(), text.rfind(", file ") - prefix.size())
                                      : text);
        }
        return expressions;
    }

private:
    static void Record(int, int, int, const char* text)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Texts.emplace_back(text);
    }

    static inline std::mutex Lock;
    static inline std::vector<std::string> Texts;
    std::uint32_t SavedFlags = 0;
};

} // namespace Testing
