// A seeded random source whose sequence is fixed by the seed alone, on every compiler and standard
// library (the standard distributions are not), so that a failing seed replays exactly.
#pragma once

#include <cstddef>
#include <cstdint>

namespace PinlampReliability {

class SimRandom {
 public:
  explicit SimRandom(std::uint64_t seed) : state_(seed) {}

  // SplitMix64: every seed, 0 included, gives a well-mixed sequence.
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }
  // 0 .. n-1; the modulo bias is far below anything a test could notice.
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }
  bool percent(unsigned chance) { return below(100) < chance; }
  bool coin() { return (next() & 1u) != 0; }
  // [0, 1)
  double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }

 private:
  std::uint64_t state_;
};

}  // namespace PinlampReliability
