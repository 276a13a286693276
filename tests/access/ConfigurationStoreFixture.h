// A configuration store of its own for each test: a fresh directory set as the root, removed after.
#pragma once

#include "access/Registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class ConfigurationStoreTest : public ::testing::Test
{
protected:
    ConfigurationStoreTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "veltrix-config-XXXXXX").string();
        Root = mkdtemp(pattern.data());
        Windows::SetConfigurationRoot(Root);
    }

    ~ConfigurationStoreTest() override
    {
        Windows::SetConfigurationRoot("");
        std::filesystem::remove_all(Root);
    }

    // Writes the store file of HKEY_LOCAL_MACHINE.
    void WriteMachineStore(const std::string& content) const
    {
        WriteFile("HKEY_LOCAL_MACHINE.conf", content);
    }

    void WriteFile(const std::string& name, const std::string& content) const
    {
        std::ofstream(Root + "/" + name, std::ios::binary) << content;
    }

    std::string Root;
};
