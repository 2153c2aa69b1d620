#include "kelvane/toolkit/errors.hpp"

namespace KVN::toolkit {

// The destructors stand here so that each class has its type information in this library alone.
InputError::~InputError() = default;
SystemError::~SystemError() = default;
Cancelled::Cancelled() : std::runtime_error("cancelled") {}
Cancelled::~Cancelled() = default;

} // namespace KVN::toolkit
