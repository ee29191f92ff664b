// Builders of small PNG files for the PNG tests: chunks with or without a sound CRC, zlib
// streams, and a whole file from an IHDR and rows already carrying their filter bytes.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brv::pngtest {

using Bytes = std::vector<uint8_t>;

inline void PutBE32(Bytes& b, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8)
        b.push_back(static_cast<uint8_t>(v >> s));
}

inline uint32_t GetBE32(const uint8_t* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

inline uint32_t Crc(std::string_view type, const Bytes& data) {
    uLong c = crc32(0L, Z_NULL, 0);
    c = crc32(c, reinterpret_cast<const Bytef*>(type.data()), 4);
    if (!data.empty()) c = crc32(c, data.data(), static_cast<uInt>(data.size()));
    return static_cast<uint32_t>(c);
}

inline Bytes Chunk(std::string_view type, const Bytes& data, bool soundCrc = true) {
    Bytes b;
    PutBE32(b, static_cast<uint32_t>(data.size()));
    b.insert(b.end(), type.begin(), type.end());
    b.insert(b.end(), data.begin(), data.end());
    PutBE32(b, Crc(type, data) ^ (soundCrc ? 0u : 0x5A5A5A5Au));
    return b;
}

inline Bytes Zlib(const Bytes& raw) {
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    Bytes out(size);
    compress(out.data(), &size, raw.data(), static_cast<uLong>(raw.size()));
    out.resize(size);
    return out;
}

inline Bytes Inflate(const Bytes& packed, size_t expected) {
    uLongf size = expected + 64;
    Bytes out(size);
    if (uncompress(out.data(), &size, packed.data(), static_cast<uLong>(packed.size())) != Z_OK)
        return {};
    out.resize(size);
    return out;
}

inline Bytes IHDR(uint32_t w, uint32_t h, uint8_t depth, uint8_t type, uint8_t interlace = 0) {
    Bytes d;
    PutBE32(d, w);
    PutBE32(d, h);
    d.insert(d.end(), {depth, type, 0, 0, interlace});
    return d;
}

inline Bytes Signature() {
    return {137, 'P', 'N', 'G', 13, 10, 26, 10};
}

inline void Append(Bytes& to, const Bytes& from) {
    to.insert(to.end(), from.begin(), from.end());
}

// Signature, IHDR, the extra chunks, one IDAT of the filtered rows, IEND.
inline Bytes File(const Bytes& ihdr, const Bytes& filteredRows,
                  const std::vector<Bytes>& extra = {}) {
    Bytes f = Signature();
    Append(f, Chunk("IHDR", ihdr));
    for (const Bytes& e : extra)
        Append(f, e);
    Append(f, Chunk("IDAT", Zlib(filteredRows)));
    Append(f, Chunk("IEND", {}));
    return f;
}

// A chunk as the test sees it in a file.
struct ParsedChunk {
    std::string type;
    Bytes data;
    bool crcSound = false;
};

inline std::vector<ParsedChunk> ParseChunks(const Bytes& file) {
    std::vector<ParsedChunk> out;
    size_t pos = 8;
    while (pos + 12 <= file.size()) {
        const uint32_t len = GetBE32(&file[pos]);
        if (len > file.size() - pos - 12) break;
        ParsedChunk c;
        c.type.assign(reinterpret_cast<const char*>(&file[pos + 4]), 4);
        c.data.assign(file.begin() + static_cast<long>(pos + 8),
                      file.begin() + static_cast<long>(pos + 8 + len));
        c.crcSound = GetBE32(&file[pos + 8 + len]) == Crc(c.type, c.data);
        out.push_back(std::move(c));
        pos += 12 + len;
    }
    return out;
}

}  // namespace brv::pngtest
