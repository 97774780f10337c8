// Runs a check once at every dispatch level this CPU supports.
#pragma once

#include <gtest/gtest.h>

#include "dispatch.h"

namespace testing_support {

template <class Check>
void atEveryLevel(Check check) {
    for (DispatchLevel level : dispatch::available()) {
        dispatch::force(level);
        SCOPED_TRACE(dispatch::name(level));
        check();
    }
    dispatch::useDetected();
}

}  // namespace testing_support
