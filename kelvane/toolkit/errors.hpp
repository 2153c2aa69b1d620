// What the toolkit throws when a job cannot be done; what() is one line, fit for a user.
#pragma once

#include "kelvane/export.hpp"

#include <stdexcept>
#include <string>

namespace KVN::toolkit {

/// The input is wrong: a file that is missing or damaged, a record that makes no sense. The line
/// names the file, the line or record in it, and what is wrong. The command ends with status 2.
class KELVANE_EXPORT InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~InputError() override;
};

/// The system refused: no permission, no space, a device that failed. The command ends with
/// status 3.
class KELVANE_EXPORT SystemError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~SystemError() override;
};

/// The caller cancelled through its Progress object.
class KELVANE_EXPORT Cancelled : public std::runtime_error {
  public:
    Cancelled();
    ~Cancelled() override;
};

} // namespace KVN::toolkit
