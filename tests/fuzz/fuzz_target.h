#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What libFuzzer and the file runner call with one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Stops the process when a property does not hold, in every build.
#define FUZZ_REQUIRE(property)                                                           \
  do {                                                                                   \
    if (!(property)) {                                                                   \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #property); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)
