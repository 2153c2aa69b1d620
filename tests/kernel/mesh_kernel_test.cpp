#include "tests/support/test_meshes.hpp"

#include <algorithm>
#include <random>
#include <set>

namespace {

using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using test::expect_sound;

MemS::Point3v<float> up(0.0f, 0.0f, 1.0f);

_vert* add_vertex(Mesh& mesh, float x = 0.0f, float y = 0.0f) {
    MemS::Point3v<float> position(x, y, 0.0f);
    return mesh.vertices.insert_vert(position);
}

// The steps in which callers add a face by hand.
_face* add_by_hand(Mesh& mesh, _vert* a, _vert* b, _vert* c) {
    const auto edge_of = [&](_vert* p, _vert* q) {
        _edge* edge = mesh.vertices.find_edge(p, q);
        if (edge == nullptr) {
            edge = mesh.edges.insert_edge(p, q);
            mesh.vertices.insert_edge(edge);
        }
        return edge;
    };
    _edge* ab = edge_of(a, b);
    _edge* ac = edge_of(a, c);
    _edge* bc = edge_of(b, c);
    _face probe;
    probe.verts[0] = a;
    probe.verts[1] = b;
    probe.verts[2] = c;
    if (mesh.edges.find_face(ab, &probe) != nullptr) {
        return nullptr;
    }
    _face* face = mesh.faces.insert_face(a, b, c, ab, ac, bc, up);
    mesh.vertices.insert_face(face);
    mesh.edges.insert_face(face);
    return face;
}

TEST(MeshStore, RecordsStayAndIndicesFollowAcrossBlocks) {
    Mesh mesh;
    EXPECT_EQ(mesh.vertices.total(), 0);
    std::vector<_vert*> made;
    for (int i = 0; i < 3 * mesh.vertices.blockSize + 5; ++i) {
        made.push_back(add_vertex(mesh, static_cast<float>(i)));
    }
    EXPECT_EQ(mesh.vertices.fullBlocks, 3);
    EXPECT_EQ(mesh.vertices.lastCount, 5);
    for (std::size_t i = 0; i < made.size(); ++i) {
        const _vert& v = mesh.vertices.at(static_cast<std::int32_t>(i));
        ASSERT_EQ(&v, made[i]);
        ASSERT_EQ(v.index, static_cast<std::int32_t>(i));
        ASSERT_EQ(v.pos.x, static_cast<float>(i));
        ASSERT_TRUE(v.status == 8 && v.flags == 0 && v.edgeCount == 0 && v.faceCount == 0);
    }
}

TEST(MeshStore, FreeLeavesAnEmptyMeshThatCanBeUsedAgain) {
    Mesh mesh;
    for (int round = 0; round < 3; ++round) {
        mesh.submeshinalize();
        test::fill(mesh, test::planar_grid(5, 5));
        mesh.inlin_inalize_mesh();
        EXPECT_EQ(expect_sound(mesh).live_faces, 50);
        mesh.free();
        mesh.free();
        EXPECT_EQ(mesh.vertices.total() + mesh.edges.total() + mesh.faces.total(), 0);
        EXPECT_EQ(mesh.faces.liveCount, 0);
        EXPECT_EQ(mesh.memory_bytes(), 0u);
    }
}

TEST(MeshInsertion, OneCallDoesWhatTheStepsByHandDo) {
    Mesh one;
    Mesh by_hand;
    std::mt19937 random(3);
    for (int i = 0; i < 12; ++i) {
        add_vertex(one);
        add_vertex(by_hand);
    }
    for (int k = 0; k < 6000; ++k) {
        int v[3] = {static_cast<int>(random() % 12), static_cast<int>(random() % 12),
                    static_cast<int>(random() % 12)};
        if (v[0] == v[1] || v[0] == v[2] || v[1] == v[2]) {
            continue;
        }
        const auto at = [&](Mesh& mesh, int i) { return test::vertex(mesh, v[i]); };
        const _face* f = one.insert_face(at(one, 0), at(one, 1), at(one, 2), up);
        const _face* g = add_by_hand(by_hand, at(by_hand, 0), at(by_hand, 1), at(by_hand, 2));
        ASSERT_EQ(f == nullptr, g == nullptr);
    }
    EXPECT_EQ(one.faces.liveCount, 220); // each of the 12 * 11 * 10 / 6 triangles once
    EXPECT_EQ(by_hand.faces.liveCount, 220);
    EXPECT_EQ(expect_sound(one).live_edges, 66);
    EXPECT_EQ(expect_sound(by_hand).live_edges, 66);
}

TEST(MeshInsertion, RefusedFacesChangeNothing) {
    const auto owner = test::make_mesh(test::planar_grid(2, 1));
    Mesh& mesh = *owner;
    _vert* a = test::vertex(mesh, 0);
    _vert* b = test::vertex(mesh, 1);
    _vert* fresh = add_vertex(mesh, 7, 7);
    _vert* dead = add_vertex(mesh, 8, 8);
    dead->status = Mesh_R::status_deleted;
    const _face& old = *test::face(mesh, 0);
    const std::int32_t edge_total = mesh.edges.total();
    const auto refused = [&](_vert* p, _vert* q, _vert* r) {
        return mesh.insert_face(p, q, r, up) == nullptr &&
               mesh.insert_face2(r, q, p, up) == nullptr && mesh.edges.total() == edge_total &&
               mesh.faces.total() == 4 && mesh.faces.liveCount == 4;
    };
    EXPECT_TRUE(refused(nullptr, a, fresh));
    EXPECT_TRUE(refused(a, fresh, a));
    EXPECT_TRUE(refused(a, fresh, dead));
    EXPECT_TRUE(refused(old.verts[1], old.verts[0], old.verts[2]));

    // Counts at their ends: the edge's faces, a vertex' faces, a vertex' edges.
    _edge* ab = mesh.vertices.find_edge(b, a);
    for (std::int16_t* count : {&ab->faceCount, &a->faceCount}) {
        const std::int16_t kept = *count;
        *count = Mesh_R::max_list_count;
        EXPECT_TRUE(refused(a, b, fresh));
        *count = kept;
    }
    expect_sound(*owner);
    EXPECT_NE(mesh.insert_face(a, b, fresh, up), nullptr);
}

TEST(MeshInsertion, AVertexTakesEdgesUpToTheEndOfItsCount) {
    Mesh mesh;
    _vert* hub = add_vertex(mesh);
    _vert* last = add_vertex(mesh);
    for (int i = 0; i < Mesh_R::max_list_count - 1; ++i) {
        _vert* next = add_vertex(mesh);
        ASSERT_NE(mesh.insert_face(hub, last, next, up), nullptr);
        last = next;
    }
    ASSERT_EQ(hub->edgeCount, Mesh_R::max_list_count);
    const std::int32_t edges = mesh.edges.total();
    EXPECT_EQ(mesh.insert_face(hub, last, add_vertex(mesh), up), nullptr);
    mesh.vertices.insert_edge(hub, test::edge(mesh, 0));
    EXPECT_EQ(hub->edgeCount, Mesh_R::max_list_count);
    EXPECT_EQ(mesh.edges.total(), edges);
    // The fan can still be closed, for that needs no new edge at the hub.
    EXPECT_NE(mesh.insert_face(hub, last, test::vertex(mesh, 1), up), nullptr);
    EXPECT_EQ(expect_sound(mesh).boundary_edges, Mesh_R::max_list_count);
}

TEST(MeshSearch, EdgesAndFacesAreFoundInEitherDirection) {
    const auto owner = test::make_mesh(test::torus(12, 8, 10, 3));
    for (std::int32_t i = 0; i < owner->edges.total(); ++i) {
        _edge* edge = test::edge(*owner, i);
        ASSERT_EQ(owner->vertices.find_edge(edge->start, edge->end), edge);
        ASSERT_EQ(owner->vertices.find_edge(edge->end, edge->start), edge);
        for (std::int16_t k = 0; k < edge->faceCount; ++k) {
            _face probe;
            std::reverse_copy(edge->faces[k]->verts, edge->faces[k]->verts + 3, probe.verts);
            ASSERT_EQ(owner->edges.find_face(edge, &probe), edge->faces[k]);
            probe.verts[0] = probe.verts[1];
            ASSERT_EQ(owner->edges.find_face(edge, &probe), nullptr);
        }
    }
    EXPECT_EQ(owner->vertices.find_edge(test::vertex(*owner, 0), test::vertex(*owner, 5)), nullptr);
    EXPECT_EQ(owner->vertices.find_edge(nullptr, test::vertex(*owner, 5)), nullptr);
}

TEST(FaceDeletion, TakesAlongWhatItLeavesAlone) {
    const auto owner = test::make_mesh(test::planar_grid(1, 1));
    Mesh& mesh = *owner; // faces (0, 1, 3) and (0, 3, 2)
    _edge* shared = mesh.vertices.find_edge(test::vertex(mesh, 0), test::vertex(mesh, 3));
    _edge* outer = mesh.vertices.find_edge(test::vertex(mesh, 0), test::vertex(mesh, 1));
    mesh.faces.dele_face(test::face(mesh, 0));
    EXPECT_EQ(shared->faceCount, 1);
    EXPECT_EQ(shared->status, 8);
    EXPECT_EQ(outer->status, 3);
    EXPECT_EQ(test::vertex(mesh, 1)->status, 3);
    EXPECT_EQ(test::vertex(mesh, 0)->edgeCount, 2);
    EXPECT_EQ(mesh.vertices.find_edge(test::vertex(mesh, 0), test::vertex(mesh, 1)), nullptr);
    expect_sound(mesh);

    mesh.faces.dele_face(test::face(mesh, 0));
    mesh.faces.dele_face(nullptr);
    EXPECT_EQ(mesh.faces.liveCount, 1);
    mesh.faces.dele_face(test::face(mesh, 1));
    EXPECT_EQ(shared->status, 3);
    const auto check = expect_sound(mesh);
    EXPECT_EQ(check.live_faces + check.live_edges + check.live_vertices, 0);
    EXPECT_EQ(mesh.faces.total(), 2);
    EXPECT_EQ(mesh.edges.total(), 5);
}

// An edge collapse walks the faces of a vertex by a count taken before its deletions.
TEST(FaceDeletion, AWalkByTheOldCountStillReachesEveryFace) {
    const auto owner = test::make_mesh(test::planar_grid(4, 4));
    _vert* centre = test::vertex(*owner, 12);
    const std::vector<_face*> before(centre->faces, centre->faces + centre->faceCount);
    ASSERT_EQ(before.size(), 6u);
    owner->faces.dele_face(before[1]);
    // The last entry took the slot, and stands in the vacated one still.
    EXPECT_EQ(centre->faces[1], before[5]);
    EXPECT_EQ(centre->faces[5], before[5]);
    const int count = centre->faceCount;
    std::set<const _face*> reached;
    for (int i = 0; i < count; ++i) {
        _face* face = centre->faces[i];
        if (face->status != 3) {
            reached.insert(face);
            owner->faces.dele_face(face);
        }
    }
    EXPECT_EQ(reached.size(), 5u);
    EXPECT_EQ(centre->status, 3);
    expect_sound(*owner);
}

// Lists grow, shrink and are cut from recycled arrays; the mesh must agree with a plain set.
TEST(FaceDeletion, RandomInsertionsAndDeletionsKeepTheMeshSound) {
    std::mt19937 random(11);
    Mesh mesh;
    std::set<std::set<const _vert*>> model;
    std::vector<_vert*> alive;
    for (int step = 0; step < 4000; ++step) {
        alive.erase(std::remove_if(alive.begin(), alive.end(),
                                   [](const _vert* v) { return v->status == 3; }),
                    alive.end());
        while (alive.size() < 14) {
            alive.push_back(add_vertex(mesh));
        }
        if (random() % 3 != 0) {
            _vert* v[3];
            for (_vert*& p : v) {
                p = alive[random() % alive.size()];
            }
            const std::set<const _vert*> key(v, v + 3);
            const bool fits = key.size() == 3 && model.insert(key).second;
            ASSERT_EQ(mesh.insert_face(v[0], v[1], v[2], up) != nullptr, fits);
        } else if (mesh.faces.total() > 0) {
            _face* face = test::face(
                mesh,
                static_cast<std::int32_t>(random() % static_cast<unsigned>(mesh.faces.total())));
            if (face->status != 3) {
                model.erase(std::set<const _vert*>(face->verts, face->verts + 3));
            }
            mesh.faces.dele_face(face);
        }
        ASSERT_EQ(mesh.faces.liveCount, static_cast<std::int32_t>(model.size()));
        if (step % 100 == 0) {
            ASSERT_EQ(expect_sound(mesh).live_faces, static_cast<std::int64_t>(model.size()));
        }
    }
}

} // namespace
