// The number types of PLY, in memory and in a binary file.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace KVN::toolkit {

/// In the order of the alternatives of Property::Values.
enum class PlyType { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

/// Calls `use` with a zero of the type that `type` stands for.
template <class Use>
auto with_type(PlyType type, const Use& use) {
    switch (type) {
    case PlyType::int8:
        return use(std::int8_t{});
    case PlyType::uint8:
        return use(std::uint8_t{});
    case PlyType::int16:
        return use(std::int16_t{});
    case PlyType::uint16:
        return use(std::uint16_t{});
    case PlyType::int32:
        return use(std::int32_t{});
    case PlyType::uint32:
        return use(std::uint32_t{});
    case PlyType::float32:
        return use(float{});
    case PlyType::float64:
        break;
    }
    return use(double{});
}

/// Bytes of a value in a binary file.
inline std::size_t size_of(PlyType type) {
    return with_type(type, [](auto zero) { return sizeof zero; });
}

inline bool is_integer(PlyType type) {
    return type != PlyType::float32 && type != PlyType::float64;
}

/// The value at `bytes`, which are in the other byte order if `swap`.
template <class T>
T load(const char* bytes, bool swap) {
    char raw[sizeof(T)];
    std::memcpy(raw, bytes, sizeof(T));
    if (swap) {
        std::reverse(raw, raw + sizeof(T));
    }
    T value;
    std::memcpy(&value, raw, sizeof(T));
    return value;
}

template <class T>
void store(T value, bool swap, char* bytes) {
    std::memcpy(bytes, &value, sizeof(T));
    if (swap) {
        std::reverse(bytes, bytes + sizeof(T));
    }
}

/// Any PLY number is a double without loss.
inline double load_number(const char* bytes, PlyType type, bool swap) {
    return with_type(
        type, [&](auto zero) { return static_cast<double>(load<decltype(zero)>(bytes, swap)); });
}

/// `value` as a T: integers rounded to the nearest and held within what T can say, NaN as 0.
template <class T>
T rounded(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        using Limits = std::numeric_limits<T>;
        if (std::isnan(value)) {
            return 0;
        }
        // The largest of 64 bits is no double; the one that it becomes would be one too many.
        constexpr int lost = std::max(Limits::digits - std::numeric_limits<double>::digits, 0);
        constexpr T largest = Limits::max() >> lost << lost;
        return static_cast<T>(std::clamp(std::nearbyint(value), static_cast<double>(Limits::min()),
                                         static_cast<double>(largest)));
    }
}

} // namespace KVN::toolkit
