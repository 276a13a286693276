// Helpers of the add-on tests: a sink that keeps what LoadAddons hands it, and the add-on names in the
// order the module hands them over.
#pragma once

#include "addons/Addon.h"
#include "addons/AddonSink.h"

#include <memory>
#include <string>
#include <vector>

namespace AddonTesting
{

inline const std::vector<std::string> ExpectedNames = {
    "Inspector of activity failing",
    "Inspector of activity not responding.",
    "Inspector of alert BackupDidNotStart",
    "Inspector of alert EncryptionPasswordMissing",
    "Inspector of alert IncompleteMachineInfo",
};

class RecordingSink final : public Core::AddonSink
{
public:
    void AddAddon(std::unique_ptr<Core::Addon> addon) override { Addons.push_back(std::move(addon)); }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& addon : Addons)
        {
            names.push_back(addon->GetName());
        }
        return names;
    }

    std::vector<std::unique_ptr<Core::Addon>> Addons;
};

} // namespace AddonTesting
