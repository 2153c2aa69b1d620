#include "tests/support/plain_normals.hpp"

#include <cmath>

namespace test {

void plain_vertex_normal(const float* normals, int count, float* result) {
    for (int axis = 0; axis < 3; ++axis) {
        float sum = 0.0f;
        for (int i = 0; i < count; ++i) {
            sum = sum + normals[3 * i + axis];
        }
        const double mean = static_cast<double>(sum) / static_cast<double>(count);
        result[axis] = static_cast<float>(mean);
    }
    const double x = result[0];
    const double y = result[1];
    const double z = result[2];
    const double length = std::sqrt(x * x + y * y + z * z);
    for (int axis = 0; axis < 3; ++axis) {
        result[axis] = length == 0.0
                           ? normals[axis]
                           : static_cast<float>(static_cast<double>(result[axis]) / length);
    }
}

void plain_face_normal(const float* corners, float* result) {
    float a[3];
    float b[3];
    for (int axis = 0; axis < 3; ++axis) {
        a[axis] = corners[axis] - corners[3 + axis];
        b[axis] = corners[3 + axis] - corners[6 + axis];
    }
    float cross[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float left = a[(axis + 1) % 3] * b[(axis + 2) % 3];
        const float right = a[(axis + 2) % 3] * b[(axis + 1) % 3];
        cross[axis] = left - right;
    }
    const double x = cross[0];
    const double y = cross[1];
    const double z = cross[2];
    const double length = std::sqrt(x * x + y * y + z * z);
    for (int axis = 0; axis < 3; ++axis) {
        const double scaled = static_cast<double>(cross[axis]) * (1.0 / length);
        result[axis] = length > 1e-16 ? static_cast<float>(scaled) : (axis == 2 ? 1.0f : 0.0f);
    }
}

} // namespace test
