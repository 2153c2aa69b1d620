// Removal of circular reference markers from a triangulated scan, in place.
//
//     std::vector<KVN::Marker> markers = ...; // centre, normal, radius
//     KVN::RepairMarkers repair(&mesh, markers, 1.5, 0, nullptr, 0);
//     repair.DeleteMarkRegion();        // cuts the surface out under each marker
//     repair.MarkerRepairprocessing(8); // finds, fills, joins, fairs; with 8 threads
//
// What is touched: faces that have a vertex on a marker's disc are deleted, with the vertices and
// edges that this leaves alone; the holes get new vertices, edges and faces; all face and vertex
// normals are computed anew. Every other vertex keeps its position bit for bit and its place in the
// store.
//
// Lengths are in the mesh's unit, and nothing converts units. The vertex normals must be those of
// the mesh when DeleteMarkRegion runs (Mesh_M::build_mesh computes them). Nothing reports an error:
// a marker without a border, or a hole that could not be filled, leaves its place open and harms no
// other. Only allocation failures throw. The result is the same for every number of threads.
//
// One object, one mesh, one run, one calling thread; objects on different meshes are independent.
#pragma once

#include "kelvane/export.hpp"
#include "kelvane/names.hpp"
#include "kelvane/repair/closings.hpp"
#include "kelvane/repair/run_places.hpp"

#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_types.h>

#include <map>
#include <vector>

namespace KVN {

/// One circular reference marker on the scanned surface.
struct Marker {
    float x;      ///< centre
    float y;      ///< centre
    float z;      ///< centre
    float nx;     ///< normal; need not be of unit length
    float ny;     ///< normal
    float nz;     ///< normal
    float radius; ///< of the sticker, in the mesh's unit
};

namespace toolkit {
struct RunAccess; // reads what a run noted and starts it with another closing
}

/// Cuts the surface out under markers, closes the holes, and lets the surface around simply
/// continue. Not for use by several threads at once; objects over different meshes are independent.
class KELVANE_EXPORT RepairMarkers {
  public:
    /// Copies `markers` and builds the kd-tree over the live vertices of `mesh`. The mesh and
    /// `blockSpheres` (four floats per block: x, y, z, radius) stay the caller's and must outlive
    /// the object. `markerSize` is added to every marker's radius to give the radius of the cut.
    /// `sizeAdjustable`, when not 0, lets setResolution change `markerSize` and lets a cut take in
    /// vertices close to the marker's plane that face away by up to 135 degrees.
    ///
    /// A null mesh, or one without faces or without live vertices, is valid: every later operation
    /// then does nothing.
    RepairMarkers(Mesh* mesh, std::vector<Marker>& markers, double markerSize, char sizeAdjustable,
                  float* blockSpheres, int blockSphereCount);
    /// Works on the same mesh, with lists of its own.
    RepairMarkers(const RepairMarkers&);
    /// Leaves an object behind that can be destroyed or assigned to.
    RepairMarkers(RepairMarkers&&);
    /// As the copy.
    RepairMarkers& operator=(const RepairMarkers&);
    /// As the move.
    RepairMarkers& operator=(RepairMarkers&&);
    ~RepairMarkers();

    /// Tells the scan's resolution (mean point distance). With `sizeAdjustable` it raises a small
    /// `markerSize`: from 0.4 on, a size below 5 grows by `r` into 5 to 7; otherwise a size below 4
    /// becomes 4.
    void setResolution(float r);

    /// Cuts the surface out under every marker and notes the vertices around each cut.
    void DeleteMarkRegion();

    /// Instead of DeleteMarkRegion, for a caller that made one cut itself: `region` holds the
    /// vertices around it. The hole is judged by the first marker, of which there must be one.
    void DeleMK(std::vector<_vert*>& region);

    /// Finds the hole of every cut, fills it, joins the patch to the mesh, fairs it, and computes
    /// all normals. `threads` goes to the fill and to the face normals.
    void MarkerRepairprocessing(int threads);

    /// Cuts out all faces with a vertex in one of the block spheres and repairs nothing. Returns
    /// the mesh, or null when the object can do nothing.
    Mesh* deleteblocks();

  private:
    friend struct toolkit::RunAccess;

    // repair_driver.cpp: the run and its stages
    bool ready() const;
    void run(const Closing& closing, int threads, const RunPlaces& places);
    void setPointIndex();
    void size_hole_lists();
    std::vector<double> flat_border(std::size_t i) const;
    void close_holes(const Closing& closing, int threads);
    void join_holes(const Closing& closing, const RunPlaces& places);
    bool offer(const Closing& closing, int i, const RunPlaces& places);
    std::vector<int> places_by_coordinates(int i);
    void recompute_normals(int threads);
    void reset_edge_marks();
    void check_stage(const char* stage) const; // stage_checks.cpp

    // closings.cpp: one row per method, the fast one first; their steps in repair_driver.cpp and
    // whole_hole_repair.cpp
    static const std::vector<Closing>& closings();
    int fill_hole(int i);
    void join_patch(int i);
    void fair_patches(int threads, const RunPlaces& places);
    int close_high(int i);
    int close_low(int i);
    void join_by_coordinates(int i);

    // marker_region_removal.cpp
    void select_marker_vertices(const Marker& marker, const std::vector<int>& hits,
                                std::vector<int>& selected) const;
    void collect_ring(const std::vector<int>& selected, RegionNote& region) const;
    void delete_marked_faces();
    std::vector<int> vertices_within(float x, float y, float z, double radius) const;

    // holes/
    void BoundaryData();
    void note_joined_holes();
    void note_swallowed_regions();
    void findmarkhole(std::vector<_vert*>& region, std::vector<_vert*>& border);
    bool find_candidate(const std::vector<_vert*>& region, std::vector<_edge*>& edges,
                        std::vector<std::vector<_edge*>>& loops, const _edge*& walk_start);
    void gethole(_vert* v, std::vector<_edge*>& out, int n);
    _edge* nextedge(_edge* e, _vert* v);
    bool check_hole_anticlock(std::vector<_edge*>& edges);
    void check_hole_split(std::vector<_edge*>& work, std::vector<_edge*>& edges,
                          std::vector<std::vector<_edge*>>& loops);
    void unclosedhole(std::vector<_vert*>& region, std::vector<_vert*>& border);

    // patch/
    void HoleBoundaryAverLength(std::vector<_vert*>& border, float& average);
    void HoleNeighbor7(std::vector<_vert*>& border, std::vector<MyPoint3>& points,
                       std::vector<MyFace>& faces, std::vector<MyPoint3>& normals,
                       std::map<int, int>& vertexMap, int& boundaryCount);
    void insertpatch_new(const int& ith, const MyOFFDataNew& patch);
    void insertpatch_7(std::vector<_vert*>& border, std::vector<MyPoint3>& points,
                       std::vector<MyFace>& faces, std::vector<MyPoint3>& Fn,
                       std::vector<int>& borderIndices);
    int getVertexIndex(std::vector<_vert*>& candidates, const MyPoint3& point);

    // whole_hole_repair.cpp: one hole by the heavier operations, as an alternative to fill and
    // fairing
    int Repair_High_Resolution(int i);
    int Repair_Low_Resolution(int i);
    void clear_hole_slot(int i);
    void rebuildmesh(Mesh* target, std::vector<_vert*>& borderVerts, int i);
    void Dataconvert(Mesh* source, int borderCount, std::vector<double>& triangles,
                     std::vector<double>& border);

    Mesh* mesh; ///< the caller's
    std::vector<Marker> markers;
    double markerSize; ///< added to every marker's radius
    char sizeAdjustable;
    float resolution;                       ///< stored by setResolution, read by nothing
    pcl::KdTreeFLANN<pcl::PointXYZ> kdTree; ///< over the vertices alive at construction
    std::vector<int> kdToVertex;            ///< point of kdTree -> index in the vertex store
    bool hasCloud;                          ///< kdTree can be searched
    float* blockSpheres;                    ///< the caller's; x, y, z, radius per block
    int blockSphereCount;
    std::vector<std::vector<_vert*>> markRegions; ///< per marker, the vertices around its cut

    // Per hole, all under one index. The hole index is not the marker's once a marker has no hole.
    std::vector<int> holeBoundaryCount;
    std::vector<std::vector<MyPoint3>> holePoints; ///< border, then neighbourhood
    std::vector<std::vector<MyFace>> holeFaces;    ///< neighbourhood, indexing holePoints
    std::vector<std::vector<MyPoint3>> holeFaceNormals;
    std::vector<std::vector<int>> holeRingIndices; ///< result of the whole-hole paths
    std::vector<std::vector<_vert*>> holeBorders;
    std::vector<MyOFFDataNew> patches;
    std::vector<std::vector<_vert*>> patchVerts; ///< per hole, the vertex of each patch point
    int currentMarker;                           ///< region that BoundaryData is working on

    RunNotes notes; ///< for reports; nothing of the repair reads them
};

} // namespace KVN
