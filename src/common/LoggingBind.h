// Logging::Bind: the sink that carries the process-wide trace into the host's logging library. The first
// instance of the library registers itself with the trace and unregisters when destroyed, even if later
// instances (which only count) still live. Create and destroy instances at start-up and shutdown.
#pragma once

#include "common/TraceLogic.h"

namespace Logging
{

class Bind : public Common::TraceLogic
{
public:
    Bind();
    ~Bind() override;

    // Each goes to the tracer that Logging_GetTracer gives for `context`. An error is written as one
    // record per entry of its chain, the head first.
    void TraceText(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   Common::WideStringView text) override;
    void TraceFile(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   Common::WideStringView text, const char* file, unsigned line) override;
    void TraceError(Common::TraceContext context, int level, const Common::Error& error) override;

    // The forms without a context use the default channel.
    void TraceText(int level, std::uint32_t area, std::uint32_t code, Common::WideStringView text) override;
    void TraceFile(int level, std::uint32_t area, std::uint32_t code, Common::WideStringView text,
                   const char* file, unsigned line) override;
    void TraceError(int level, const Common::Error& error) override;

private:
    bool Installed = false;
};

} // namespace Logging
