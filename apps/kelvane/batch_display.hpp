// The progress of a batch on standard error.
#pragma once

#include "kelvane/toolkit/batch/batch_run.hpp"

namespace kelvane_command {

/// A live line on a terminal, a line per job elsewhere; failures are told in both, and also if
/// `quiet`. While it lives, an interrupt from the keyboard cancels the batch; a second one ends the
/// program.
class BatchDisplay {
  public:
    explicit BatchDisplay(bool quiet);
    BatchDisplay(const BatchDisplay&) = delete;
    BatchDisplay& operator=(const BatchDisplay&) = delete;
    ~BatchDisplay();

    /// Cancelled by an interrupt.
    const KVN::toolkit::Progress& whole() const { return whole_; }
    /// Shows where the batch stands; see BatchListener.
    void show(const KVN::toolkit::BatchCounts& counts, const KVN::toolkit::BatchJob* ended,
              const KVN::toolkit::JobResult& result);

  private:
    bool quiet_;
    bool terminal_;
    bool line_open_ = false; // the live line has no end yet
    KVN::toolkit::Progress whole_;
};

} // namespace kelvane_command
