// Real Maya is the judge: every scene of the shared truth collection is
// loaded into mayasim, exported through the plug-in, and compared with what
// an exporter running inside real Maya wrote from the same scene (a
// .babylon, and for some a .gltf with its .bin).
//
// Compared triangle by triangle, corner by corner in Maya's order (so the
// diagonal and the winding count): position, normal and UV, and the
// material of each triangle; and each mesh node's world matrix. The bar is
// zero differences.
//
// Conventions of those files (the collection's README): a .babylon of
// exporter version 1.0 holds centimetres, negates z of positions, normals
// and translations, negates x and y of rotation quaternions, rounds to four
// decimals and merges corners of one vertex that agree within 0.001; a
// .gltf holds centimetres too, keeps z, flips V, and full float precision.
#include "plugin/plugin_fixture.h"

#include "foundation/config/parse_simplified_json.h"
#include "mayasim/maya_ascii.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

using foundation::DynamicConfigValue;
using test::floats;
using twi::SceneDatabase;
using twi::SceneGeometry;

namespace {

std::string truth(const std::string& name) { return std::string(TW_SHARED_TESTDATA) + "/maya-truth/" + name; }

std::string bytes_of(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// A 4x4 matrix for row vectors, as Maya and the twi format hold them.
struct Matrix {
  double m[16];
  static Matrix identity() {
    Matrix r;
    for (int i = 0; i < 16; ++i)
      r.m[i] = i % 5 == 0 ? 1 : 0;
    return r;
  }
  Matrix operator*(const Matrix& o) const {
    Matrix r;
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) {
        double s = 0;
        for (int k = 0; k < 4; ++k)
          s += m[4 * i + k] * o.m[4 * k + j];
        r.m[4 * i + j] = s;
      }
    return r;
  }
};

// Translation, rotation (x y z w) and scale as one matrix for row vectors.
Matrix trs(const double t[3], const double q[4], const double s[3]) {
  double x = q[0], y = q[1], z = q[2], w = q[3];
  double r[9] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w),     2 * (x * z - y * w),
                 2 * (x * y - z * w),     1 - 2 * (x * x + z * z), 2 * (y * z + x * w),
                 2 * (x * z + y * w),     2 * (y * z - x * w),     1 - 2 * (x * x + y * y)};
  Matrix out = Matrix::identity();
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      out.m[4 * i + j] = s[i] * r[3 * i + j];
  for (int j = 0; j < 3; ++j)
    out.m[12 + j] = t[j];
  return out;
}

// One triangle corner as a file describes it: in Maya's frame (right-
// handed, centimetres, V as Maya's).
struct Corner {
  double position[3], normal[3], uv[2];
};

// One mesh as the judge's file holds it.
struct TruthMesh {
  std::string name;
  std::vector<Corner> corners;         // three a triangle, in the file's order
  std::vector<std::string> materials;  // per triangle
  Matrix world = Matrix::identity();   // centimetres
};

double number(const DynamicConfigValue& v) { return v.is_integer() ? double(v.to_integer()) : double(v.to_float()); }

// A JSON file (the judge's .babylon and .gltf are JSON) as a value.
bool parse_file(const std::string& path, DynamicConfigValue& doc, std::string& problem) {
  std::string text = bytes_of(path);
  if (foundation::simplified_json::try_parse_untrusted(text.data(), uint32_t(text.size()), doc, nullptr))
    return true;
  problem = path + " does not parse";
  return false;
}

// The meshes of a .babylon, brought back to Maya's frame.
std::vector<TruthMesh> read_babylon(const std::string& path, std::string& problem) {
  std::vector<TruthMesh> out;
  DynamicConfigValue doc(foundation::memory_globals::default_allocator());
  if (!parse_file(path, doc, problem))
    return out;
  const DynamicConfigValue& producer = doc.get("producer");
  std::string version = producer.get("exporter_version").is_string() ? producer.get("exporter_version").to_string() : "";
  // Lengths in centimetres up to the exporter's version 1.0, metres after.
  double to_cm = version == "1.0" || version.empty() ? 1.0 : 100.0;
  std::map<std::string, std::string> material_names;
  const DynamicConfigValue& materials = doc.get("materials");
  for (uint32_t i = 0; i < materials.size(); ++i)
    material_names[materials.at(i).get("id").to_string()] = materials.at(i).get("name").to_string();
  const DynamicConfigValue& meshes = doc.get("meshes");
  std::map<std::string, Matrix> local_of;
  std::map<std::string, std::string> parent_of, name_of;
  for (uint32_t i = 0; i < meshes.size(); ++i) {
    const DynamicConfigValue& m = meshes.at(i);
    std::string id = m.get("id").to_string();
    name_of[id] = m.get("name").to_string();
    if (m.get("parentId").is_string())
      parent_of[id] = m.get("parentId").to_string();
    // Left-handed to Maya's frame: z of translations negated, x and y of
    // the rotation.
    double t[3] = {number(m.get("position").at(0)) * to_cm, number(m.get("position").at(1)) * to_cm,
                   -number(m.get("position").at(2)) * to_cm};
    double q[4] = {0, 0, 0, 1};
    if (m.get("rotationQuaternion").is_array())
      for (int k = 0; k < 4; ++k)
        q[k] = number(m.get("rotationQuaternion").at(uint32_t(k))) * (k < 2 ? -1 : 1);
    double s[3] = {number(m.get("scaling").at(0)), number(m.get("scaling").at(1)), number(m.get("scaling").at(2))};
    local_of[id] = trs(t, q, s);
    const DynamicConfigValue& indices = m.get("indices");
    if (!indices.is_array() || indices.size() == 0)
      continue;
    TruthMesh mesh;
    mesh.name = m.get("name").to_string();
    const DynamicConfigValue &p = m.get("positions"), &n = m.get("normals"), &uv = m.get("uvs");
    for (uint32_t k = 0; k < indices.size(); ++k) {
      uint32_t v = uint32_t(indices.at(k).to_integer());
      Corner c;
      for (uint32_t a = 0; a < 3; ++a) {
        double flip = a == 2 ? -1 : 1;
        c.position[a] = flip * number(p.at(3 * v + a)) * to_cm;
        c.normal[a] = flip * number(n.at(3 * v + a));
      }
      c.uv[0] = uv.is_array() ? number(uv.at(2 * v)) : 0;
      c.uv[1] = uv.is_array() ? number(uv.at(2 * v + 1)) : 0;
      mesh.corners.push_back(c);
    }
    mesh.materials.assign(indices.size() / 3, "");
    const DynamicConfigValue& subs = m.get("subMeshes");
    std::string material = m.get("materialId").is_string() ? material_names[m.get("materialId").to_string()] : "";
    for (uint32_t k = 0; k < subs.size(); ++k) {
      uint32_t first = uint32_t(subs.at(k).get("indexStart").to_integer()) / 3;
      uint32_t count = uint32_t(subs.at(k).get("indexCount").to_integer()) / 3;
      for (uint32_t tri = first; tri < first + count && tri < mesh.materials.size(); ++tri)
        mesh.materials[tri] = material;
    }
    out.push_back(mesh);
    out.back().world = local_of[id]; // parents below
  }
  for (TruthMesh& mesh : out) {
    std::string id;
    for (const auto& n : name_of)
      if (n.second == mesh.name)
        id = n.first;
    Matrix world = local_of[id];
    for (auto p = parent_of.find(id); p != parent_of.end(); p = parent_of.find(p->second))
      world = world * local_of[p->second];
    mesh.world = world;
  }
  return out;
}

// The meshes of a .gltf and its buffer, brought back to Maya's V.
std::vector<TruthMesh> read_gltf(const std::string& path, std::string& problem) {
  std::vector<TruthMesh> out;
  DynamicConfigValue doc(foundation::memory_globals::default_allocator());
  if (!parse_file(path, doc, problem))
    return out;
  std::string bin = bytes_of(path.substr(0, path.size() - 5) + ".bin");
  const DynamicConfigValue &accessors = doc.get("accessors"), &views = doc.get("bufferViews");
  // An accessor's values as doubles, `width` of them an element.
  auto values = [&](uint32_t index, uint32_t width) {
    std::vector<double> v;
    const DynamicConfigValue& a = accessors.at(index);
    const DynamicConfigValue& view = views.at(uint32_t(a.get("bufferView").to_integer()));
    size_t offset = size_t(view.has("byteOffset") ? view.get("byteOffset").to_integer() : 0) +
                    size_t(a.has("byteOffset") ? a.get("byteOffset").to_integer() : 0);
    int type = a.get("componentType").to_integer();
    size_t size = type == 5126 || type == 5125 ? 4 : 2;
    size_t count = size_t(a.get("count").to_integer()) * width;
    if (offset + count * size > bin.size()) {
      problem = path + ": an accessor runs past its buffer";
      return v;
    }
    for (size_t i = 0; i < count; ++i) {
      const char* at = bin.data() + offset + i * size;
      if (type == 5126) {
        float f;
        memcpy(&f, at, 4);
        v.push_back(f);
      } else if (type == 5125) {
        uint32_t u;
        memcpy(&u, at, 4);
        v.push_back(u);
      } else {
        uint16_t u;
        memcpy(&u, at, 2);
        v.push_back(u);
      }
    }
    return v;
  };
  const DynamicConfigValue &nodes = doc.get("nodes"), &meshes = doc.get("meshes"), &materials = doc.get("materials");
  for (uint32_t i = 0; i < nodes.size(); ++i) {
    const DynamicConfigValue& node = nodes.at(i);
    if (!node.has("mesh"))
      continue;
    TruthMesh mesh;
    mesh.name = node.get("name").to_string();
    double t[3] = {0, 0, 0}, q[4] = {0, 0, 0, 1}, s[3] = {1, 1, 1};
    for (uint32_t k = 0; k < 3; ++k) {
      if (node.has("translation"))
        t[k] = number(node.get("translation").at(k));
      if (node.has("scale"))
        s[k] = number(node.get("scale").at(k));
    }
    for (uint32_t k = 0; k < 4 && node.has("rotation"); ++k)
      q[k] = number(node.get("rotation").at(k));
    mesh.world = trs(t, q, s);
    const DynamicConfigValue& primitives = meshes.at(uint32_t(node.get("mesh").to_integer())).get("primitives");
    for (uint32_t p = 0; p < primitives.size(); ++p) {
      const DynamicConfigValue& prim = primitives.at(p);
      const DynamicConfigValue& attributes = prim.get("attributes");
      std::vector<double> indices = values(uint32_t(prim.get("indices").to_integer()), 1);
      std::vector<double> positions = values(uint32_t(attributes.get("POSITION").to_integer()), 3);
      std::vector<double> normals = values(uint32_t(attributes.get("NORMAL").to_integer()), 3);
      std::vector<double> uvs = values(uint32_t(attributes.get("TEXCOORD_0").to_integer()), 2);
      std::string material = materials.at(uint32_t(prim.get("material").to_integer())).get("name").to_string();
      for (double index : indices) {
        size_t v = size_t(index);
        if (3 * v + 2 >= positions.size() || 3 * v + 2 >= normals.size() || 2 * v + 1 >= uvs.size()) {
          problem = path + ": an index past its attributes";
          return out;
        }
        Corner c;
        for (int a = 0; a < 3; ++a) {
          c.position[a] = positions[3 * v + size_t(a)];
          c.normal[a] = normals[3 * v + size_t(a)];
        }
        c.uv[0] = uvs[2 * v];
        c.uv[1] = 1 - uvs[2 * v + 1];
        mesh.corners.push_back(c);
      }
      mesh.materials.insert(mesh.materials.end(), indices.size() / 3, material);
    }
    out.push_back(mesh);
  }
  return out;
}

// How close our numbers must come to the judge's: what its file can say.
struct Tolerance {
  double position; // centimetres, relative to the value's size above 1
  double normal, uv;
  double matrix;   // relative to the largest element of the matrix row
};

// Four decimals, and corners merged within 0.001; a rotation quaternion
// rounded to four decimals moves a matrix element by up to about 2e-4 of
// the row's scale.
const Tolerance BABYLON = {1.5e-3, 1.5e-3, 1.5e-3, 3e-4};
// Full float precision (ours: six significant digits).
const Tolerance GLTF = {1e-5, 1e-5, 1e-5, 1e-5};

class Truth : public test::PluginTest {
protected:
  void SetUp() override {
    if (std::string(TW_SHARED_TESTDATA).empty())
      GTEST_SKIP() << "no shared test data";
    test::PluginTest::SetUp();
  }

  // Loads and exports `scene` (a .ma of the truth collection) and compares
  // it with each judge file given; returns the differences found.
  void judge(const std::string& scene, const std::vector<std::string>& judges) {
    mayasim::MayaAsciiResult loaded;
    ASSERT_TRUE(mayasim::load_maya_ascii(truth(scene + ".ma"), loaded)) << loaded.error;
    SceneDatabase& db = exported();
    for (const std::string& judge_file : judges) {
      std::string problem;
      bool gltf = judge_file.size() > 5 && judge_file.compare(judge_file.size() - 5, 5, ".gltf") == 0;
      std::vector<TruthMesh> meshes =
          gltf ? read_gltf(truth(judge_file), problem) : read_babylon(truth(judge_file), problem);
      ASSERT_TRUE(problem.empty()) << problem;
      ASSERT_FALSE(meshes.empty()) << judge_file;
      size_t differences = 0, corners = 0;
      for (const TruthMesh& mesh : meshes) {
        differences += compare(db, mesh, gltf ? GLTF : BABYLON, judge_file);
        corners += mesh.corners.size();
      }
      printf("%s: %zu meshes, %zu triangles against %s: %zu differences\n", scene.c_str(), meshes.size(),
             corners / 3, judge_file.c_str(), differences);
      EXPECT_EQ(0u, differences) << judge_file;
    }
  }

  size_t compare(SceneDatabase& db, const TruthMesh& mesh, const Tolerance& tol, const std::string& judge_file) {
    size_t differences = 0;
    auto differ = [&](const std::string& what) {
      if (++differences <= 5)
        ADD_FAILURE() << judge_file << ": " << mesh.name << ": " << what;
    };
    auto found = db.geometries.find(mesh.name.c_str());
    if (found == db.geometries.end()) {
      differ("no geometry of that name was exported");
      return differences;
    }
    const SceneGeometry* g = &found.value();
    int position = -1, normal = -1, uv = -1;
    for (uint32_t s = 0; s < g->streams.size(); ++s) {
      const twi::StreamChannel& c = g->streams[s].channels[0];
      if (strcmp(c.name.c_str(), "POSITION") == 0)
        position = int(s);
      else if (strcmp(c.name.c_str(), "NORMAL") == 0)
        normal = int(s);
      else if (strcmp(c.name.c_str(), "TEXCOORD") == 0 && c.index == 0)
        uv = int(s);
    }
    if (position < 0 || normal < 0 || uv < 0) {
      differ("positions, normals or UVs were not exported");
      return differences;
    }
    size_t triangles = g->indices.size / 3;
    if (triangles != mesh.corners.size() / 3)
      differ("the judge has " + std::to_string(mesh.corners.size() / 3) + " triangles, the export " +
             std::to_string(triangles));
    // The material of each exported triangle.
    std::vector<std::string> material(triangles);
    for (uint32_t m = 0; m < g->materials.size(); ++m)
      for (uint32_t k = 0; k < g->materials[m].primitives.size(); ++k)
        if (g->materials[m].primitives[k] < triangles)
          material[g->materials[m].primitives[k]] = g->materials[m].name.c_str();
    for (size_t t = 0; t < std::min(triangles, mesh.corners.size() / 3); ++t) {
      if (material[t] != mesh.materials[t])
        differ("triangle " + std::to_string(t) + " has material " + material[t] + ", Maya's " + mesh.materials[t]);
      for (size_t k = 0; k < 3; ++k) {
        const Corner& c = mesh.corners[3 * t + k];
        size_t at = 3 * t + k;
        const float* p = floats(g->streams[uint32_t(position)]) + 3 * g->indices.streams[uint32_t(position)][uint32_t(at)];
        const float* n = floats(g->streams[uint32_t(normal)]) + 3 * g->indices.streams[uint32_t(normal)][uint32_t(at)];
        const float* u = floats(g->streams[uint32_t(uv)]) + 2 * g->indices.streams[uint32_t(uv)][uint32_t(at)];
        std::string where = "triangle " + std::to_string(t) + " corner " + std::to_string(k);
        for (int a = 0; a < 3; ++a) {
          double ours = double(p[a]) * 100.0; // metres in the export
          if (std::fabs(ours - c.position[a]) > tol.position * std::max(1.0, std::fabs(c.position[a])))
            differ(where + ": position " + std::to_string(ours) + ", Maya's " + std::to_string(c.position[a]));
          if (std::fabs(double(n[a]) - c.normal[a]) > tol.normal)
            differ(where + ": normal " + std::to_string(n[a]) + ", Maya's " + std::to_string(c.normal[a]));
        }
        for (int a = 0; a < 2; ++a)
          if (std::fabs(double(u[a]) - c.uv[a]) > tol.uv)
            differ(where + ": UV " + std::to_string(u[a]) + ", Maya's " + std::to_string(c.uv[a]));
      }
    }
    // The mesh node's world matrix, from the exported hierarchy.
    Matrix world = Matrix::identity();
    std::string name = mesh.name;
    for (int depth = 0; depth < 1000; ++depth) {
      auto at = db.nodes.find(name.c_str());
      if (at == db.nodes.end()) {
        differ("no node " + name + " was exported");
        return differences;
      }
      const twi::SceneNode* node = &at.value();
      Matrix local;
      for (int i = 0; i < 16; ++i)
        local.m[i] = node->local[i] * (i >= 12 && i < 15 ? 100.0 : 1.0);
      world = world * local;
      if (node->parent.length() == 0)
        break;
      name = node->parent.c_str();
    }
    for (int i = 0; i < 16; ++i) {
      double row = 1.0;
      for (int j = 4 * (i / 4); j < 4 * (i / 4) + 4; ++j)
        row = std::max(row, std::fabs(mesh.world.m[j]));
      if (std::fabs(world.m[i] - mesh.world.m[i]) > tol.matrix * row)
        differ("world matrix element " + std::to_string(i) + " is " + std::to_string(world.m[i]) + ", Maya's " +
               std::to_string(mesh.world.m[i]));
    }
    return differences;
  }
};

} // namespace

TEST_F(Truth, CubesOfQuadsAndTriangles) { judge("CubesImageFormat", {"CubesImageFormat.babylon"}); }

TEST_F(Truth, SpheresFromTheirConstructionHistory) {
  judge("Std_Textures", {"Std_Textures.babylon"});
}

TEST_F(Truth, SpheresAtFullPrecision) { judge("PBR_Textures", {"PBR_Textures.babylon", "PBR_Textures.gltf"}); }

TEST_F(Truth, ABottleOfFaceListsInPieces) { judge("WaterBottle", {"WaterBottle.babylon", "WaterBottle.gltf"}); }
