// Random numbers that are the same with every standard library. The engine of the standard is fixed
// to the bit, its distributions are not.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>

namespace KVN::toolkit {

class PortableRandom {
  public:
    explicit PortableRandom(std::uint64_t seed) : engine_(seed) {}

    /// Uniform in [0, 1), with the 53 bits that a double holds.
    double uniform() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }
    double uniform(double from, double to) { return from + (to - from) * uniform(); }

    /// Normal with mean 0 and deviation 1 (Box and Muller, 1958; one of the pair is used).
    double normal() {
        constexpr double two_pi = 6.283185307179586;
        const double radius =
            std::sqrt(-2.0 * std::log(1.0 - uniform())); // the log of 0 is no number
        return radius * std::cos(two_pi * uniform());
    }

  private:
    std::mt19937_64 engine_;
};

} // namespace KVN::toolkit
