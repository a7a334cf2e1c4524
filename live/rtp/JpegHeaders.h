#pragma once

// The headers of a JPEG file as RFC 2435 has receivers build them: standard Huffman tables, two quantisation
// tables, one scan of three components.

#include <vector>

#include "live/rtp/ByteReader.h"

namespace live::rtp {

struct JpegHeaders {
    unsigned width = 0;
    unsigned height = 0;
    bool subsampledVertically = false;  // 4:2:0, otherwise 4:2:2
    unsigned restartInterval = 0;       // in MCUs; 0: none
    Bytes quantizers;                   // one or two tables
    std::uint8_t precision = 0;         // bit n: table n has 16-bit entries
};

constexpr std::size_t kQuantizerEntries = 64;

/// Whether `tables` is one or two tables of the given precision.
bool quantizersFit(Bytes tables, std::uint8_t precision);

/// Both 8-bit tables for a quality of 1 to 99, in zigzag order.
void scaleQuantizers(unsigned quality, std::vector<unsigned char>& out);

/// Replaces `out` by everything up to the scan's data. False when the tables don't fit.
bool buildJpegHeaders(const JpegHeaders& headers, std::vector<unsigned char>& out);

}  // namespace live::rtp
