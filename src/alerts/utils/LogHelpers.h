// The log lines of the alert inspectors: every line goes to the channel "alerts" of the host's logging
// library, at levels 1 to 4 (rising in severity; events at 2, failures at 4). Event lines read
// "NAME: body"; the error wrappers put a caught error under one of the module's own and log the chain.
// Nothing here throws for a logging reason. Thread-safe.
#pragma once

#include "common/Error.h"
#include "common/ErrorLocation.h"
#include "common/Guid.h"
#include "common/LogRecord.h"
#include "common/TraceLogic.h"
#include "common/WideString.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Alerts
{

namespace LogLevels
{
inline constexpr int Debug = 1;
inline constexpr int Info = 2;
inline constexpr int Warning = 3;
inline constexpr int Error = 4;
} // namespace LogLevels

// "IGNORE: pattern='<pattern>'" at level 2, from its own site.
void LogIgnoreByPattern(std::string_view pattern);
// "TIMEOUTCALLBACK: <text>" at level 2, from its own site.
void LogTimeoutCallback(std::string_view text);

namespace Util
{

// The channel "alerts".
Common::TraceContext GetAlertsChannel();

// "<name>: <text>" at `level`.
void LogText(std::string_view name, int level, std::string_view text);

// "ACTIVATED: type=.. id=.. tenantID=..\nmeta=.." at level 2; the meta in the unit's text form.
void LogActivated(std::string_view type, const Common::Guid& id, Common::WideStringView tenantID,
                  const Por::View::Unit& meta);
// As LogActivated, with the event "ACTIVATE_AFTER <delay>ms".
void LogActivateAfter(std::uint64_t delayMilliseconds, std::string_view type, const Common::Guid& id,
                      Common::WideStringView tenantID, const Por::View::Unit& meta);
// "DEACTIVATED: type=.. id=.." at level 2.
void LogDeactivated(std::string_view type, const Common::Guid& id);
// "CLEANUP: addon=..\npattern=.." at level 2.
void LogCleanup(std::string_view addon, std::string_view pattern);

// "<name>: <path> not found in <object>" at `level`.
void LogNotFound(std::string_view name, int level, std::string_view path, const Por::View::Unit& object);

// The error wrappers. Each returns the new error (its code and text below, made at `site`, `error` as
// its sub-error) after logging its chain at level 4, head first, under the site's line tag.
// 0x011A0012 "Read objects from DML failed in inspector (add-on: '{0}', spec: '{1}').".
Common::Error LogDmlReadFailure(const Common::ErrorLocation& site, std::string_view addon,
                                const Dml::ViewSpec& spec, const Common::Error& error);
// 0x011A0010 "Failed to handle DML object in Alerts inspector (add-on: '{0}', object: '{1}').".
Common::Error LogObjectFailure(const Common::ErrorLocation& site, std::string_view addon,
                               const Por::View::Unit& object, const Common::Error& error);
// 0x011A000F "Internal error in Alerts inspector (add-on: '{0}').".
Common::Error LogInternalFailure(const Common::ErrorLocation& site, std::string_view addon,
                                 const Common::Error& error);
// 0x011A0011 "Internal error in timeout callback in inspector (type: '{0}').".
Common::Error LogTimeoutFailure(const Common::ErrorLocation& site, std::string_view type,
                                const Common::Error& error);
// A failed cleanup is wrapped as 0x011A003C "Failed to cleanup alerts by pattern (add-on: '{0}', pattern:
// '{1}')." and logged; a successful one writes the "CLEANUP" event instead.
void LogCleanupResult(const Common::ErrorLocation& site, std::string_view addon, std::string_view pattern,
                      const Common::Error& error);

// Writes the record's text through "%s" at level 4 for `site`; the record then counts as logged.
void LogRecord(const Common::ErrorLocation& site, StructuredLogs::LogRecord& record);

// The text forms used in log lines: a unit as the printer writes it without its final line feed, a
// view spec as "pattern=..\noptions=..", a wide text as UTF-8.
std::string UnitText(const Por::View::Unit& unit);
std::string SpecText(const Dml::ViewSpec& spec);
std::string Utf8Text(Common::WideStringView text);

} // namespace Util
} // namespace Alerts
