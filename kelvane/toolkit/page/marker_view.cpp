#include "kelvane/toolkit/page/marker_view.hpp"

#include <cstring>

namespace KVN::toolkit {

namespace {

template <class Value>
void append(std::string& bytes, Value value) {
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the page reads little endian");
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof value);
}

template <class List>
void append_all(std::string& bytes, const List& list) {
    for (const auto& entry : list) {
        for (const auto value : entry) {
            append(bytes, value);
        }
    }
}

template <class List>
std::uint32_t count(const List& list) {
    return static_cast<std::uint32_t>(list.size());
}

} // namespace

std::string to_bytes(const MarkerView& view) {
    std::string bytes;
    append_all(bytes, std::array{view.origin, view.normal,
                                 std::array{view.radius, view.step, view.farthest}});
    for (const std::uint32_t n :
         {view.shared_points, view.gone_points, view.new_points(), count(view.shared_faces),
          count(view.gone_faces), count(view.new_faces), count(view.border), count(view.rim_before),
          count(view.rim_after)}) {
        append(bytes, n);
    }
    append_all(bytes, view.positions);
    append_all(bytes, view.shared_faces);
    append_all(bytes, view.gone_faces);
    append_all(bytes, view.new_faces);
    append_all(bytes, view.border);
    append_all(bytes, view.rim_before);
    append_all(bytes, view.rim_after);
    append_all(bytes, std::array{view.distances, view.bends_before, view.bends_after});
    return bytes;
}

std::string base64(const std::string& bytes) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t three = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t byte =
                i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0;
            three = three << 8 | byte;
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += i + k > bytes.size() ? '=' : digits[three >> (18 - 6 * k) & 63];
        }
    }
    return text;
}

} // namespace KVN::toolkit
