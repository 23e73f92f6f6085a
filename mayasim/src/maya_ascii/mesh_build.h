// Mesh data as a Maya ASCII file stores it, turned into mayasim's mesh.
//
// A file gives a mesh as points, edges (two points and whether the edge is
// smooth) and faces that walk edges (a negative number walks edge -1 - e
// backwards), with UV and colour ids per face corner. Normals that the file
// does not store are computed as Maya computes them: each face has the
// normal of its plane (Newell's method), and a corner's normal is the sum of
// the normals of the faces around its point that are reached across smooth
// edges, each weighted by the mesh's vertex normal method (by default the
// corner's angle times the face's area), normalised. A hard edge splits the
// faces on its two sides into different normals.
#pragma once

#include "file_scene.h"

#include <functional>

namespace mayasim {
namespace maya_ascii {

// False, with the problem in a sentence, when the data cannot make a mesh:
// an edge or face not given, a face whose edges do not form a loop, faces
// with holes (mayasim's meshes have none), ids out of range.
bool build_mesh(const StoredMesh& stored, MeshData& out, std::string& problem);

// Stored data for a mesh given as polygons of point ids; an edge is smooth
// where smooth(a, b) says so. Edges are numbered as they are first met.
void mesh_from_polygons(StoredMesh& out, const std::vector<double>& points,
                        const std::vector<std::vector<int>>& polygons, const std::function<bool(int, int)>& smooth);

// Adds a UV set: uvs (u v per UV) and, per polygon, the UV ids of its
// corners.
void add_uv_set(StoredMesh& out, const std::string& name, const std::vector<double>& uvs,
                const std::vector<std::vector<int>>& ids);

} // namespace maya_ascii
} // namespace mayasim
