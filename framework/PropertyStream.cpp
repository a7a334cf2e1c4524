#include "framework/PropertyStream.h"

#include <bit>
#include <concepts>

namespace framework {

namespace {

constexpr std::uint32_t kMagic = 0x5350584E;  // "NXPS"
constexpr std::uint32_t kVersion = 1;

class Writer {
  public:
    template <std::integral T>
    void Number(T value) {
        auto bits = static_cast<std::uint64_t>(value);
        for (std::size_t i = 0; i < sizeof(T); ++i, bits >>= 8) {
            m_bytes.push_back(static_cast<std::uint8_t>(bits));
        }
    }
    void String(const std::u16string& text) {
        Number(static_cast<std::uint32_t>(text.size()));
        for (const char16_t unit : text)
            Number(static_cast<std::uint16_t>(unit));
    }

    void Value(bool value) { Number(static_cast<std::uint8_t>(value)); }
    void Value(std::int16_t value) { Number(value); }
    void Value(std::int32_t value) { Number(value); }
    void Value(double value) { Number(std::bit_cast<std::uint64_t>(value)); }
    void Value(const std::u16string& value) { String(value); }

    std::vector<std::uint8_t> Take() { return std::move(m_bytes); }

  private:
    std::vector<std::uint8_t> m_bytes;
};

/// Reads numbers and texts; after the first read beyond the end everything reads as zero and Ok() is false.
class Reader {
  public:
    explicit Reader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    bool Ok() const { return m_ok; }
    bool AtEnd() const { return m_ok && m_bytes.empty(); }

    template <std::integral T>
    T Number() {
        if (!Has(sizeof(T))) return 0;
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            bits |= std::uint64_t{m_bytes[i]} << (8 * i);
        m_bytes = m_bytes.subspan(sizeof(T));
        return static_cast<T>(bits);
    }
    std::u16string String() {
        const auto length = Number<std::uint32_t>();
        if (!Has(std::uint64_t{length} * 2)) return {};
        std::u16string text(length, u'\0');
        for (char16_t& unit : text)
            unit = Number<std::uint16_t>();
        return text;
    }

    void Fail() { m_ok = false; }

  private:
    bool Has(std::uint64_t bytes) {
        if (bytes > m_bytes.size()) m_ok = false;
        return m_ok;
    }

    std::span<const std::uint8_t> m_bytes;
    bool m_ok = true;
};

PropertyValue ReadValue(Reader& in) {
    PropertyValue property;
    property.name = in.String();
    switch (in.Number<std::uint8_t>()) {
        case 0:
            property.value = in.Number<std::uint8_t>() != 0;
            break;
        case 1:
            property.value = in.Number<std::int16_t>();
            break;
        case 2:
            property.value = in.Number<std::int32_t>();
            break;
        case 3:
            property.value = std::bit_cast<double>(in.Number<std::uint64_t>());
            break;
        case 4:
            property.value = in.String();
            break;
        default:
            in.Fail();
    }
    return property;
}

}  // namespace

std::vector<std::uint8_t> EncodeProperties(const PropertySet& properties) {
    Writer body;
    body.Number(properties.extentX);
    body.Number(properties.extentY);
    body.Number(static_cast<std::uint32_t>(properties.values.size()));
    for (const PropertyValue& property : properties.values) {
        body.String(property.name);
        body.Number(static_cast<std::uint8_t>(property.value.index()));
        std::visit([&](const auto& value) { body.Value(value); }, property.value);
    }
    const std::vector<std::uint8_t> bytes = body.Take();
    if (bytes.size() > kMaxPropertyBytes) return {};

    Writer header;
    header.Number(kMagic);
    header.Number(kVersion);
    header.Number(static_cast<std::uint32_t>(bytes.size()));
    std::vector<std::uint8_t> all = header.Take();
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

std::optional<std::uint32_t> DecodePropertyHeader(std::span<const std::uint8_t> header) {
    Reader in(header);
    const auto magic = in.Number<std::uint32_t>();
    const auto version = in.Number<std::uint32_t>();
    const auto length = in.Number<std::uint32_t>();
    if (!in.AtEnd() || magic != kMagic || version != kVersion || length > kMaxPropertyBytes) return {};
    return length;
}

std::optional<PropertySet> DecodePropertyBody(std::span<const std::uint8_t> body) {
    Reader in(body);
    PropertySet properties;
    properties.extentX = in.Number<std::int32_t>();
    properties.extentY = in.Number<std::int32_t>();
    const auto count = in.Number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count && in.Ok(); ++i)
        properties.values.push_back(ReadValue(in));
    if (!in.AtEnd()) return {};
    return properties;
}

}  // namespace framework
