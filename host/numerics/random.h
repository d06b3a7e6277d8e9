#pragma once

#include <random>

namespace QXCore {

/// Uniform random numbers: the Mersenne Twister of std::mt19937, a value an object.
class QXRandom {
 public:
  /// false: every object starts from the same seed, std::mt19937::default_seed (5489), so that
  /// results repeat and threads do not meet. true: from the entropy of the system.
  explicit QXRandom(bool fromSystem)
      : engine_(fromSystem ? std::random_device{}() : std::mt19937::default_seed) {}

  /// The next number of [0, 1), a multiple of 2^-24. 1 never comes.
  float NextFloat() { return static_cast<float>(engine_() >> 8) * 0x1p-24f; }

 private:
  std::mt19937 engine_;
};

}  // namespace QXCore
