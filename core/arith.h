// The arithmetic words every pixel formula is written in. They follow the rounding of the
// original BASIC-family runtime exactly, because results are compared bit for bit.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace brv {

// Nearest integer, ties to the even neighbour (banker's rounding).
inline double Round(double x) {
    double r = std::floor(x);
    double diff = x - r;
    if (diff > 0.5) return r + 1.0;
    if (diff < 0.5) return r;
    return std::fmod(r, 2.0) == 0.0 ? r : r + 1.0;
}

// Largest integer not above x.
inline double Int(double x) {
    return std::floor(x);
}

// Toward zero.
inline double Fix(double x) {
    return std::trunc(x);
}

// A double to a 32-bit integer by Round; nullopt where the runtime would overflow.
inline std::optional<int32_t> ToInt32(double x) {
    double r = Round(x);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) return std::nullopt;
    return static_cast<int32_t>(r);
}

// Like ToInt32 but saturating; for places where an overflow cannot carry meaning.
inline int32_t RoundToInt(double x) {
    double r = Round(x);
    if (std::isnan(r)) return 0;
    if (r <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    if (r >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(r);
}

// Integer division truncating toward zero; nullopt for a zero divisor or INT_MIN / -1.
inline std::optional<int32_t> Div(int32_t a, int32_t b) {
    if (b == 0 || (a == std::numeric_limits<int32_t>::min() && b == -1)) return std::nullopt;
    return a / b;
}

template <class T>
constexpr T Clamp(T v, T lo, T hi) {
    return v < lo ? lo : (hi < v ? hi : v);
}

}  // namespace brv
