// Which variants this library binds its names to, under the build's cap, on this processor.
#include "base/dispatched.hpp"

#include <gtest/gtest.h>

TEST(Choice, IsTheBestOfThisProcessor)
{
    const uint32_t features = qal::base::cpu_features(QAL_ISA_CAP);
    for (const auto &name : qal::test::dispatched_names())
        EXPECT_EQ(name.chosen(), name.best(features)) << name.name;
}
