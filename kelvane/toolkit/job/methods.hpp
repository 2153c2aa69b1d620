// The ways to close a hole, for all that lists them.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/repair/closings.hpp"

#include <vector>

namespace KVN::toolkit {

using KVN::Method;

/// A method as users meet it.
struct MethodInfo {
    Method method;    ///< for RepairOptions
    const char* name; ///< as on the command line, e.g. "fast"
    const char* help; ///< what it does, a clause
};

/// All methods, in the order of the enumeration.
KELVANE_EXPORT const std::vector<MethodInfo>& methods();

/// The method's name.
KELVANE_EXPORT const char* to_string(Method method);

} // namespace KVN::toolkit
