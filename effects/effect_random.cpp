#include "effects/effect_random.h"

#include <bit>

namespace brv {

void EffectRandom::Reseed(double seed) {
    // +0 and -0 are the same seed.
    if (seed == 0.0) seed = 0.0;
    state_ = std::bit_cast<uint64_t>(seed);
}

double EffectRandom::Next() {
    // splitmix64: every state gives a well-mixed output, so nearby seeds (consecutive clock
    // values) still give unrelated sequences.
    state_ += 0x9E3779B97F4A7C15ull;
    uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    z ^= z >> 31;
    // The top 53 bits as a fraction: never 1.
    return static_cast<double>(z >> 11) * 0x1.0p-53;
}

}  // namespace brv
