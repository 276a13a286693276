// Sends the logging library's records to a fresh file for the life of the object, and reads them back.
#pragma once

#include "Platform/Logging.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Testing
{

class LogCapture
{
public:
    LogCapture()
    {
        std::remove(Path.c_str());
        EXPECT_EQ(Logging_SetOutputFile(Path.c_str()), 0);
    }
    ~LogCapture()
    {
        Logging_SetOutputFile(nullptr);
        std::remove(Path.c_str());
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string Text() const
    {
        std::ifstream stream(Path);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }

    // Physical lines, without their line feeds.
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        std::istringstream stream(Text());
        for (std::string line; std::getline(stream, line);)
        {
            lines.push_back(line);
        }
        return lines;
    }

    const std::string Path = ::testing::TempDir() + "VeltrixLog." + std::to_string(getpid());
};

} // namespace Testing
