// Gradation lists and their .BVG files.
//
// .BVG, little-endian:
//   offset 0   count n, signed 32 bits; outside 1..100 the reader gives up
//   offset 4   24 * (n + 1) bytes: GradPoint records for indexes 0..n; record 0 is unused and
//              written as zeros
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

// One stop of a gradation, 24 bytes on disk as six signed 32-bit integers in this order.
struct GradPoint {
    int32_t R = 0;
    int32_t G = 0;
    int32_t B = 0;
    int32_t A = 0;
    int32_t Pos = 0;   // 0..100
    int32_t Mark = 0;  // a work field while dragging; 0 when stored
    friend bool operator==(const GradPoint&, const GradPoint&) = default;
};

inline constexpr int32_t kGradMaxPoints = 100;

// The points in order; the file's unused record 0 is not kept here.
using GradData = std::vector<GradPoint>;

void GradAdd(GradData& list, int32_t r, int32_t g, int32_t b, int32_t a, int32_t pos);
// Exchange sort by Pos; equal positions keep their order.
void GradSort(GradData& list);

std::vector<uint8_t> SerializeGradation(const GradData& list);
// 0, or negative when the file is missing or its count is outside 1..100 (the list is then
// untouched).
int32_t GradLoad(std::string_view fnm, GradData& retList);
// Sorts, appends ".BVG" when the name has another extension, writes. 0 or negative.
int32_t GradSave(std::string_view fnm, GradData list);

// The two gradations written when the folder has none: "黒から白" and "白から透明な黒".
// Returns the number of files written.
int MakeDefaultGradations(std::string_view gradationsDir);

}  // namespace brv
