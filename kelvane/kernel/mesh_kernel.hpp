// The mesh kernel: one in-memory triangle complex whose records never move.
//
// A Mesh_M::Mesh holds three record stores (faces, vertices, edges). Records live in equally sized
// blocks, so a _vert*, _edge* or _face* stays valid for the life of the mesh; a deleted record
// stays in its slot, readable, with status 3, and its slot is never used again. Callers read and
// write the records directly and walk the stores by index:
//
//     const int total = mesh.faces.fullBlocks * mesh.faces.blockSize + mesh.faces.lastCount;
//     for (int i = 0; i < total; ++i) {
//         _face& f = mesh.faces.blocks[i / mesh.faces.blockSize][i % mesh.faces.blockSize];
//         if (f.status == 3) continue;
//         ...
//     }
//
// Any complex of triangles can be held, with as many faces on an edge as its 16-bit count can tell.
// Length unit: the caller's; nothing is converted. Threads: no operation may run at the same time
// as another one on the same mesh; different meshes are independent.
#pragma once

#include "kelvane/export.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MemS {

/// Three coordinates or components, as the kernel takes positions and normals.
template <class T>
struct Point3v {
    T x{}; ///< first coordinate
    T y{}; ///< second
    T z{}; ///< third

    Point3v() = default;
    Point3v(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {} ///< from three coordinates
};

} // namespace MemS

namespace Mesh_M {
class Mesh;
class MeshBuilder;
} // namespace Mesh_M

namespace Mesh_R {

struct _edge;
struct _face;

/// Values of the status word of every record.
enum : std::uint16_t {
    status_walked = 1,  ///< walked by a hole search (edges), visited by a split check (vertices)
    status_cut = 2,     ///< cut out of a loop by a split check (edges)
    status_deleted = 3, ///< written by Face::dele_face only
    status_normal = 8,
};

/// The most entries that the 16-bit counts of a record can tell.
constexpr int max_list_count = 32767;

/// A vertex. `edges` and `faces` hold `edgeCount` and `faceCount` entries in no defined order; a
/// vacated slot past the count keeps its old pointer (Face::dele_face tells who relies on that).
struct _vert {
    MemS::Point3v<float> pos;    ///< where it lies
    MemS::Point3v<float> normal; ///< unit once Vertex::R_cal_vector has run; zero on a fresh record
    _edge** edges = nullptr;     ///< that end here
    _face** faces = nullptr;     ///< that have it as a corner
    float localSize = 0.0f;      ///< local target length, used on temporary meshes only
    std::int32_t index = 0;      ///< place in the store on a fresh record; callers may renumber
    std::uint8_t flags = 0;      ///< scratch bits with fixed owners
    std::uint8_t edge_capacity_log2 = 0;  ///< kernel's own: room in `edges`, as a power of two
    std::int16_t edgeCount = 0;           ///< entries of `edges`
    std::int16_t faceCount = 0;           ///< entries of `faces`
    std::uint16_t status = status_normal; ///< see status_normal and its like
    std::uint32_t tag = 0;                ///< free for the caller
    std::uint8_t face_capacity_log2 = 0;  ///< kernel's own: room in `faces`, as a power of two
};

/// An edge between two vertices, in no oriented order. `faceCount` is 1 on a boundary edge.
struct _edge {
    _vert* start = nullptr;               ///< one end
    _vert* end = nullptr;                 ///< the other
    _face** faces = nullptr;              ///< on its sides
    std::int16_t faceCount = 0;           ///< entries of `faces`
    std::uint16_t status = status_normal; ///< as of a vertex
    std::uint8_t flags = 0;               ///< scratch bits with fixed owners
    std::uint8_t face_capacity_log2 = 0;  ///< kernel's own: room in `faces`, as a power of two
};

/// A triangle. The normal points to the side from which `verts` run anticlockwise. `edges` holds
/// the edges of the vertex pairs (0, 1), (0, 2), (1, 2) on a face that the kernel made; an edge
/// flip keeps the slots and so does not keep that order.
struct _face {
    _vert* verts[3] = {nullptr, nullptr, nullptr}; ///< the corners
    _edge* edges[3] = {nullptr, nullptr, nullptr}; ///< the sides
    MemS::Point3v<float> normal;                   ///< of unit length
    std::uint8_t flags = 0;                        ///< scratch bits with fixed owners
    std::uint16_t status = status_normal;          ///< as of a vertex
};

/// Records in equally sized blocks. Record i is `blocks[i / blockSize][i % blockSize]`; the total
/// `fullBlocks * blockSize + lastCount` counts deleted records as well.
template <class Record>
class BlockStore {
  public:
    std::int32_t blockSize = 4096; ///< records in a block
    std::int32_t lastCount = 0;    ///< records in the last block
    std::int32_t fullBlocks = 0;   ///< blocks before it
    Record** blocks = nullptr;     ///< the blocks, in order

    BlockStore() = default;
    BlockStore(const BlockStore&) = delete;
    BlockStore& operator=(const BlockStore&) = delete;

    /// Number of records ever made, deleted ones included.
    std::int32_t total() const { return fullBlocks * blockSize + lastCount; }

    /// Record `i`, 0 <= i < total(); not checked.
    Record& at(std::int32_t i) const { return blocks[i / blockSize][i % blockSize]; }

  protected:
    ~BlockStore() = default;
    /// A fresh record behind the last one. Throws std::length_error beyond 2^31 - 1 records.
    Record* append();
    /// Makes room for `records` more, so that append() of that many does not allocate.
    void reserve_more(std::size_t records);
    /// Gives back all blocks; the store is empty afterwards.
    void release();

    /// Bytes taken from the system.
    std::size_t bytes() const {
        return blocks_made * static_cast<std::size_t>(blockSize) * sizeof(Record) +
               block_capacity * sizeof(Record*);
    }

    std::size_t block_capacity = 0; ///< entries of `blocks` that can be used
    std::size_t blocks_made = 0;    ///< entries of `blocks` that are allocated
    std::vector<void*> pieces;      ///< memory of one or more blocks each

  private:
    void make_blocks(std::size_t count);
};

class ListPool; // memory of adjacency lists, kernel/list_pool.hpp

/// The vertex store, and all that edits the lists of vertices.
class KELVANE_EXPORT Vertex : public BlockStore<_vert> {
  public:
    Vertex();
    ~Vertex();

    /// Appends a vertex at `position` with no edges and faces, zero normal and flags, `index` its
    /// place in the store. Throws std::length_error when the store is full.
    _vert* insert_vert(MemS::Point3v<float>& position);

    /// The live edge between `a` and `b` in either direction, or null; null too for a null vertex.
    _edge* find_edge(const _vert* a, const _vert* b) const;

    /// Adds `edge` to the lists of both of its ends. A list that is full stays as it is.
    void insert_edge(_edge* edge);
    /// Adds `edge` to the list of `vertex` alone.
    void insert_edge(_vert* vertex, _edge* edge);
    /// Adds `face` to the lists of its three vertices. A list that is full stays as it is.
    void insert_face(_face* face);
    /// Adds `face` to the list of `vertex` alone.
    void insert_face(_vert* vertex, _face* face);

    /// Sets `normal` of every live vertex that has a face to the normalised plain mean of its
    /// faces' normals; the sum is in single precision, each division in double. A mean of length 0
    /// is replaced by the first face's normal. A vertex without faces keeps its normal.
    void R_cal_vector();
    /// The same for one vertex.
    void R_cal_vector(_vert* vertex);

  private:
    friend class ::Mesh_M::Mesh;
    friend class ::Mesh_M::MeshBuilder;
    ListPool* lists = nullptr;
};

/// The edge store, and all that edits the lists of edges.
class KELVANE_EXPORT Edge : public BlockStore<_edge> {
  public:
    Edge();
    ~Edge();

    /// Makes an edge from `start` to `end` without faces. The vertices' lists are not touched.
    /// Throws std::length_error when the store is full.
    _edge* insert_edge(_vert* start, _vert* end);
    /// Adds `face` to the lists of its three edges. A list that is full stays as it is.
    void insert_face(_face* face);
    /// Adds `face` to the list of `edge` alone.
    void insert_face(_edge* edge, _face* face);
    /// A face in `edge`'s list with the same three vertices as `probe`, in any order, or null. Only
    /// the probe's `verts` are read.
    _face* find_face(const _edge* edge, const _face* probe) const;

  private:
    friend class ::Mesh_M::Mesh;
    friend class ::Mesh_M::MeshBuilder;
    ListPool* lists = nullptr;
};

/// The face store, and the deletion of faces.
class KELVANE_EXPORT Face : public BlockStore<_face> {
  public:
    std::int32_t liveCount = 0; ///< faces that are not deleted

    Face() = default;
    ~Face();

    /// Makes a face with exactly these fields; touches no list. Throws std::length_error when the
    /// store is full.
    _face* insert_face(_vert* a, _vert* b, _vert* c, _edge* ab, _edge* ac, _edge* bc,
                       MemS::Point3v<float>& normal);

    /// Deletes a face and whatever it leaves alone: the face leaves the lists of its edges and
    /// vertices, an edge without a face is deleted and leaves its ends' lists, a vertex without a
    /// face is deleted. An entry leaves a list by the last entry taking its slot, and the vacated
    /// last slot keeps its old pointer: a walk by a count taken before the deletions still reaches
    /// every entry. A null or already deleted face is left alone.
    void dele_face(_face* face);

  private:
    friend class ::Mesh_M::Mesh;
    friend class ::Mesh_M::MeshBuilder;
};

} // namespace Mesh_R

namespace Mesh_M {

/// A mesh: three record stores. Neither copied nor moved, since records are reached by address.
class KELVANE_EXPORT Mesh {
  public:
    Mesh_R::Face faces;      ///< store of the triangles
    Mesh_R::Vertex vertices; ///< store of the vertices
    Mesh_R::Edge edges;      ///< store of the edges

    Mesh();
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    /// Gives back all memory of the stores and lists. Afterwards the mesh is empty and all pointers
    /// into it are gone. May be called any number of times.
    void free();

    /// Bytes that the stores and the lists have taken from the system, reserves included. Memory of
    /// deleted records counts as well.
    std::size_t memory_bytes() const;

    /// Prepares a fresh mesh for `insert_vert` and `insert_face`; a mesh with records is left
    /// alone.
    void submeshinalize();
    /// Completes a mesh built by `insert_vert` and `insert_face`.
    void inlin_inalize_mesh();

    /// Makes the face (a, b, c) with the missing ones of its edges and enters it into all lists.
    /// Returns null, with nothing changed, for a null or repeated or deleted vertex, for a face
    /// that exists already over the same vertices in whatever order, and where a 16-bit count would
    /// overflow. An edge may carry any number of faces.
    Mesh_R::_face* insert_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                               MemS::Point3v<float>& normal);
    /// The same; used while the face that is being replaced still stands in the mesh.
    Mesh_R::_face* insert_face2(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                                MemS::Point3v<float>& normal);
};

} // namespace Mesh_M
