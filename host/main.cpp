// veltrix-host: the reference host. It loads the alerts add-on and plays a scenario file against it on a
// virtual clock, printing every alert call and step as a JSON line.
//   veltrix-host SCENARIO [--store FILE] [--addon MODULE] [--log FILE] [--trace-level N] [--html FILE]
// The inspectors' log (channel "alerts") goes to --log FILE, else to $VELTRIX_LOG_FILE, else nowhere, so
// standard output holds the JSON lines alone. --html FILE writes the run's alert timeline, a page that needs
// no network, at the end.
// Exit status: 0 when every expectation of the scenario held, 1 when one failed, 2 for a bad command
// line, scenario, module or store file (nothing runs then).
#include "Platform/Logging.h"
#include "common/Error.h"
#include "common/StringConversion.h"
#include "common/Trace.h"
#include "run/Runner.h"
#include "run/Scenario.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

namespace
{

int Usage()
{
    std::fprintf(
        stderr, "usage: veltrix-host SCENARIO [--store FILE] [--addon MODULE] [--log FILE] [--trace-level N] "
                "[--html FILE]\n");
    return 2;
}

std::string ErrorText(Common::Error error)
{
    std::string text;
    for (; error.GetCode() != 0; error = error.GetSubError())
    {
        text += (text.empty() ? "" : "\n  caused by: ") + Core::ConvertToUtf8(error.GetMessage());
    }
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    std::string scenarioPath;
    std::string logPath;
    std::string htmlPath;
    Host::Run::RunOptions options;
    options.AddonPath = VELTRIX_DEFAULT_ADDON_PATH;
    for (int index = 1; index < argc; ++index)
    {
        const std::string argument = argv[index];
        const bool hasValue = index + 1 < argc;
        if (argument == "--store" && hasValue)
        {
            options.StorePath = argv[++index];
        }
        else if (argument == "--log" && hasValue)
        {
            logPath = argv[++index];
        }
        else if (argument == "--html" && hasValue)
        {
            htmlPath = argv[++index];
        }
        else if (argument == "--addon" && hasValue)
        {
            options.AddonPath = argv[++index];
        }
        else if (argument == "--trace-level" && hasValue)
        {
            options.TraceLevel = static_cast<std::uint32_t>(std::stoul(argv[++index]));
        }
        else if (!argument.empty() && argument[0] != '-' && scenarioPath.empty())
        {
            scenarioPath = argument;
        }
        else
        {
            return Usage();
        }
    }
    if (scenarioPath.empty())
    {
        return Usage();
    }
    // The trace reaches the log through the add-on's binding; its own console output would mix with the
    // JSON lines.
    Common::SetDefaultOutputDisabled(true);
    if (!logPath.empty() || std::getenv("VELTRIX_LOG_FILE") == nullptr)
    {
        Logging_SetOutputFile(logPath.empty() ? "/dev/null" : logPath.c_str());
    }
    try
    {
        const Host::Run::Scenario scenario = Host::Run::ReadScenario(scenarioPath);
        // Opened before the run, so a path that can't be written stops the host before anything runs.
        std::ofstream page;
        if (!htmlPath.empty())
        {
            page.open(htmlPath, std::ios::binary | std::ios::trunc);
            if (!page)
            {
                std::fprintf(stderr, "veltrix-host: cannot write %s: %s\n", htmlPath.c_str(),
                             std::strerror(errno));
                return 2;
            }
        }
        const bool held =
            Host::Run::RunScenario(scenario, options, std::cout, htmlPath.empty() ? nullptr : &page);
        if (page.is_open() && !page.flush())
        {
            std::fprintf(stderr, "veltrix-host: cannot write %s\n", htmlPath.c_str());
            return 2;
        }
        return held ? 0 : 1;
    }
    catch (const Common::Error& error)
    {
        std::fprintf(stderr, "veltrix-host: %s\n", ErrorText(error).c_str());
        return 2;
    }
}
