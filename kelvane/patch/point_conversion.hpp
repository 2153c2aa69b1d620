// Between the single precision of the mesh and the double precision of patches.
#pragma once

#include "kelvane/names.hpp"

namespace KVN {

inline MyPoint3 widen(const MemS::Point3v<float>& p) {
    return MyPoint3{{p.x, p.y, p.z}};
}

inline MemS::Point3v<float> narrow(const MyPoint3& p) {
    return {static_cast<float>(p.p[0]), static_cast<float>(p.p[1]), static_cast<float>(p.p[2])};
}

} // namespace KVN
