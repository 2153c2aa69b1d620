// The arithmetic of normals once more, written out plainly and compiled without optimisation.
#pragma once

namespace test {

/// The normalised mean of `count` normals, 3 floats each, into `result`.
void plain_vertex_normal(const float* normals, int count, float* result);

/// The unit normal of a triangle of 9 floats into `result`.
void plain_face_normal(const float* corners, float* result);

} // namespace test
