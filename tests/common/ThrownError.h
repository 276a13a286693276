// Catches the Common::Error an action throws, for tests that check what a failure carries.
#pragma once

#include "common/Error.h"

#include <gtest/gtest.h>

namespace Testing
{

// The error `action` throws; when it throws none, a test failure and Success.
template <typename Action>
Common::Error ThrownError(Action&& action)
{
    try
    {
        action();
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    ADD_FAILURE() << "no Common::Error thrown";
    return Common::Success;
}

} // namespace Testing
