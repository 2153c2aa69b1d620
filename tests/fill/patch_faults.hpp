// What is wrong with a patch as a disc over its border; written apart from the library's own check.
#pragma once

#include "kelvane/fill/hole_filling.hpp"

#include <string>
#include <vector>

/// An empty text for a patch that is all that fillHoleWithoutFair promises, else the first fault.
std::string fault_of(const std::vector<double>& border, const Mesh_M::MyOFFDataNew& patch);

/// Length of the edge a - b, and area of a triangle.
double distance(const Mesh_M::MyPoint3& a, const Mesh_M::MyPoint3& b);
double areaOf(const Mesh_M::MyOFFDataNew& patch, const Mesh_M::MyFace& face);
