#include <cstdlib>

#include "framework/PropertyStream.h"
#include "tests/native/framework/PropertySets.h"

// Whatever is taken for a set of properties can be stored again and comes back the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace framework;
    if (size >= kPropertyHeaderSize) (void)DecodePropertyHeader({data, kPropertyHeaderSize});
    const auto decoded = DecodePropertyBody({data, size});
    if (!decoded) return 0;
    const std::vector<std::uint8_t> stream = EncodeProperties(*decoded);
    const auto again = DecodePropertyBody(std::span(stream).subspan(kPropertyHeaderSize));
    if (!again || !test::Same(*again, *decoded)) std::abort();
    return 0;
}
