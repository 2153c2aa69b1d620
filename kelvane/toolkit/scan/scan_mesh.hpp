// Scans in and out of a mesh of the kernel.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/kernel/mesh_build.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

namespace KVN::toolkit {

/// Fills the empty `mesh` from `scan` (Mesh_M::build_mesh tells how) and returns what became of the
/// faces. Throws InputError if the arrays' lengths are no multiples of 3.
KELVANE_EXPORT Mesh_M::BuildReport build_from(const Scan& scan, Mesh_M::Mesh& mesh);

/// The live vertices and faces of `mesh`, in store order.
KELVANE_EXPORT Scan scan_of(const Mesh_M::Mesh& mesh);

} // namespace KVN::toolkit
