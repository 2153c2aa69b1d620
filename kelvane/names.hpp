// Names of the kernel and the hole filler that namespace KVN speaks of as its own.
#pragma once

#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/kernel/mesh_kernel.hpp"

namespace KVN {

using Mesh_M::Mesh;
using Mesh_M::MyFace;
using Mesh_M::MyOFFDataNew;
using Mesh_M::MyPoint3;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

} // namespace KVN
