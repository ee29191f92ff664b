// The random generator of the effects: uniform values in [0, 1), reseeded from a double. The
// same seed gives the same sequence, which is how a run repeats the picture of its preview.
#pragma once

#include <cstdint>

namespace brv {

class EffectRandom {
public:
    EffectRandom() { Reseed(0.0); }
    void Reseed(double seed);
    // The next value, at least 0 and below 1.
    double Next();

private:
    uint64_t state_ = 0;
};

}  // namespace brv
