/** The seed of a test that plays random rules against a model. */
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

/** HC_TEST_SEED of the environment plays a failed run again; by default each run differs. */
inline unsigned testSeed() {
    const char* given = std::getenv("HC_TEST_SEED");
    const unsigned seed = given == nullptr
                              ? std::random_device{}()
                              : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
    testing::Test::RecordProperty("seed", static_cast<int>(seed));
    std::printf("HC_TEST_SEED=%u\n", seed);
    return seed;
}
