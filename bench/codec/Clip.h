#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace codec::bench {

using Bytes = std::vector<std::uint8_t>;

/// The packets of one of make_corpus.py's clips; ends the program when it is missing. Loaded once.
const std::vector<Bytes>& LoadClip(const std::string& name);

/// Calls of operator new since the program began, from all threads: ours, since the libraries have other
/// allocators.
std::uint64_t Allocations();

}  // namespace codec::bench
