#include "kelvane/kernel/mesh_builder.hpp"

namespace Mesh_M {

Mesh::Mesh() = default;

Mesh::~Mesh() {
    free();
}

void Mesh::free() {
    faces.release();
    faces.liveCount = 0;
    vertices.release();
    vertices.lists->release();
    edges.release();
    edges.lists->release();
}

std::size_t Mesh::memory_bytes() const {
    return faces.bytes() + vertices.bytes() + edges.bytes() + vertices.lists->bytes() +
           edges.lists->bytes();
}

void Mesh::submeshinalize() {
    // Also drops what an earlier use may have reserved.
    if (faces.total() == 0 && vertices.total() == 0 && edges.total() == 0) {
        free();
    }
}

void Mesh::inlin_inalize_mesh() {
    // Every operation leaves all counts and lists complete at once; nothing is put off until here.
}

Mesh_R::_face* Mesh::insert_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                                 MemS::Point3v<float>& normal) {
    Mesh_R::_face* made = nullptr;
    MeshBuilder(*this).add_face(a, b, c, normal, made);
    return made;
}

Mesh_R::_face* Mesh::insert_face2(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                                  MemS::Point3v<float>& normal) {
    return insert_face(a, b, c, normal);
}

} // namespace Mesh_M
