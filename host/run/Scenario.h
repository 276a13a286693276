// Host::Run::Scenario: a scenario file read and checked whole before anything runs. A scenario is a JSON
// object:
//   "seed"       number, the seed of the host's GUIDs (default 1)
//   "start"      text, the virtual wall time at 0 ("2026-01-01T00:00:00Z" by default)
//   "settings"   unit, the alert settings handed to every inspector's Initialize
//   "machine"    text, this machine's GUID
//   "passwords"  object of scope → text, the system profile's passwords at start
//   "objects"    array of units written to the store before the inspectors start (a new store only)
//   "steps"      array of steps, each an object with "at" (seconds from start, never going back) and one
//                action: "create", "store", "update", "delete" (units), "batch" (array of one-action
//                objects), "password" ({"scope", "value"}; an empty value removes it), "restart" (true, or
//                {"offline": [writes]} made while the inspectors are down),
//                "advance" (seconds, the clock moves on by so much more), or "expect" (see Expectation).
// Units are written in the host's unit notation. Every fault names the file, the step and the field.
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Host::Run
{

// An alert the store must hold ("active") or must not hold ("inactive"): its type, and optionally its
// id and the inspector (add-on name) that raised it.
struct AlertMatch
{
    std::string Type;
    std::optional<Common::Guid> Id;
    std::optional<std::string> Inspector;
};

struct Expectation
{
    std::vector<AlertMatch> Active;
    std::vector<AlertMatch> Inactive;
    // The number of alerts the store holds, when given.
    std::optional<std::size_t> Count;
};

enum class Action
{
    Create,
    Store,
    Update,
    Delete,
    Batch,
    Password,
    Restart,
    Advance,
    Expect,
};

struct Step
{
    std::size_t Index = 0;
    std::uint64_t AtMilliseconds = 0;
    Action Kind = Action::Advance;
    Por::ConstUnitPtr Unit;         // create, store, update, delete
    std::vector<Step> Batch;        // batch: create, store, update or delete each
    std::string Scope;              // password
    std::u16string Password;        // password
    std::uint64_t Milliseconds = 0; // advance
    Expectation Expect;             // expect
};

struct Scenario
{
    std::string File;
    std::uint64_t Seed = 1;
    std::int64_t StartSeconds = 0;
    Por::ConstUnitPtr Settings;
    Common::Guid Machine;
    std::map<std::string, std::u16string> Passwords;
    std::vector<Por::ConstUnitPtr> Objects;
    std::vector<Step> Steps;
};

// Reads and checks the file; throws Common::Error naming the file, the step and the field.
Scenario ReadScenario(const std::string& path);

// The action's name as the file writes it.
const char* ActionName(Action action);

} // namespace Host::Run
