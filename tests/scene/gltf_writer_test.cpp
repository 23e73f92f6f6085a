#include "foundation/config/parse_simplified_json.h"
#include "foundation/memory/memory_globals.h"
#include "scene/gltf_writer.h"
#include "support/test_support.h"

#include <math.h>
#include <random>
#include <string.h>
#include <string>
#include <vector>

using namespace foundation;
using namespace twi;

namespace {

// A .glb taken apart: its JSON as a tree and its binary chunk.
struct Glb {
  DynamicConfigValue json{memory_globals::default_allocator()};
  std::vector<uint8_t> bin;

  bool parse(const Vector<uint8_t>& file) {
    uint32_t header[5];
    if (file.size() < 20)
      return false;
    memcpy(header, file.data(), 20);
    if (memcmp(file.data(), "glTF", 4) != 0 || header[1] != 2 || header[2] != file.size() ||
        memcmp(file.data() + 16, "JSON", 4) != 0 || header[3] % 4 != 0)
      return false;
    const char* text = reinterpret_cast<const char*>(file.data()) + 20;
    simplified_json::ParseError error;
    if (!simplified_json::try_parse_untrusted(text, header[3], json, &error))
      return false;
    uint32_t at = 20 + header[3];
    if (at == file.size())
      return true;
    uint32_t bin_length;
    memcpy(&bin_length, file.data() + at, 4);
    if (memcmp(file.data() + at + 4, "BIN\0", 4) != 0 || at + 8 + bin_length != file.size())
      return false;
    bin.assign(file.data() + at + 8, file.data() + at + 8 + bin_length);
    return true;
  }

  const DynamicConfigValue& j() const { return json; }

  // Component c of element i of accessor `a`, as a double.
  double read(int a, uint32_t i, uint32_t c) const {
    const DynamicConfigValue& acc = j().get("accessors").at(uint32_t(a));
    const DynamicConfigValue& view = j().get("bufferViews").at(uint32_t(acc.get("bufferView").to_integer()));
    int type = acc.get("componentType").to_integer();
    uint32_t size = type == 5121 ? 1 : type == 5123 ? 2 : 4;
    uint32_t components = components_of(acc.get("type").to_string());
    size_t at = size_t(view.get("byteOffset").to_integer()) + (size_t(i) * components + c) * size;
    EXPECT_LE(at + size, bin.size());
    if (type == 5126) {
      float f;
      memcpy(&f, bin.data() + at, 4);
      return f;
    }
    uint32_t v = 0;
    memcpy(&v, bin.data() + at, size);
    return v;
  }
  static uint32_t components_of(const char* type) {
    return strcmp(type, "SCALAR") == 0 ? 1 : strcmp(type, "VEC2") == 0 ? 2 : strcmp(type, "VEC3") == 0 ? 3
         : strcmp(type, "VEC4") == 0 ? 4 : 16;
  }
  uint32_t count(int a) const { return uint32_t(j().get("accessors").at(uint32_t(a)).get("count").to_integer()); }
};

struct Converted {
  Vector<uint8_t> file{memory_globals::default_allocator()};
  Vector<String> notes{memory_globals::default_allocator()};
  String error{memory_globals::default_allocator()};
  GltfSummary summary;
  Glb glb;
  bool ok = false;

  bool has_note(const std::string& part) const {
    for (const String& n : notes)
      if (strstr(n.c_str(), part.c_str()))
        return true;
    return false;
  }
};

void convert(const SceneDatabase& db, Converted& out, bool binary = true) {
  GltfOptions options;
  options.binary = binary;
  out.ok = write_gltf(db, options, out.file, out.summary, out.notes, out.error);
  if (out.ok && binary) {
    EXPECT_TRUE(out.glb.parse(out.file));
  }
}

void identity(float* m) {
  for (int i = 0; i < 16; ++i)
    m[i] = (i % 5) == 0 ? 1.0f : 0.0f;
}

SceneNode& add_node(SceneDatabase& db, const char* name, const char* parent) {
  SceneNode& n = db.nodes.get_or_insert(name);
  identity(n.local);
  if (*parent) {
    n.parent = parent;
    db.nodes.get_or_insert(parent).children.push_back_default() = name;
  } else {
    db.roots.push_back_default() = name;
  }
  return n;
}

// A unit square of two triangles with a UV seam on its diagonal: the four
// positions share one normal, the corners use five distinct UVs, so six
// corners make five glTF vertices. Colour with alpha, tangents whose
// binormals make one triangle left-handed, two UV sets.
void add_square(SceneDatabase& db, const char* name) {
  SceneGeometry& g = db.geometries.get_or_insert(name);
  const float p[12] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
  memcpy(add_stream(g.streams, "POSITION", 0, CT_FLOAT3, 4), p, sizeof(p));
  const float n[3] = {0, 0, 2}; // not unit: glTF's must be
  memcpy(add_stream(g.streams, "NORMAL", 0, CT_FLOAT3, 1), n, sizeof(n));
  const float b[6] = {0, 1, 0, 0, -1, 0};
  memcpy(add_stream(g.streams, "BINORMAL", 0, CT_FLOAT3, 2), b, sizeof(b));
  const float t[6] = {1, 0, 0, 1, 0, 0};
  memcpy(add_stream(g.streams, "TANGENT", 0, CT_FLOAT3, 2), t, sizeof(t));
  const float c[6] = {1, 0.5f, 0, 0.25f, 2.0f, -1.0f}; // the second is clamped
  memcpy(add_stream(g.streams, "COLOR", 0, CT_FLOAT3, 2), c, sizeof(c));
  const float a[2] = {1, 0.5f};
  memcpy(add_stream(g.streams, "ALPHA", 0, CT_FLOAT1, 2), a, sizeof(a));
  const float uv0[10] = {0, 0, 1, 0, 1, 1, 0, 1, 0.5f, 0.5f};
  memcpy(add_stream(g.streams, "TEXCOORD", 0, CT_FLOAT2, 5), uv0, sizeof(uv0));
  const float uv1[2] = {0.25f, 0.75f};
  memcpy(add_stream(g.streams, "TEXCOORD", 1, CT_FLOAT2, 1), uv1, sizeof(uv1));
  const uint32_t position[6] = {0, 1, 2, 0, 2, 3};
  const uint32_t normal[6] = {0, 0, 0, 0, 0, 0};
  const uint32_t tangent[6] = {0, 0, 0, 1, 1, 1};
  const uint32_t colour[6] = {0, 0, 0, 1, 1, 1};
  const uint32_t uv[6] = {0, 1, 2, 4, 2, 3}; // corner 3 is (0,0) by position, (0.5,0.5) by UV
  const uint32_t zero[6] = {0, 0, 0, 0, 0, 0};
  const uint32_t* lists[8] = {position, normal, tangent, tangent, colour, colour, uv, zero};
  g.indices.size = 6;
  g.indices.streams.resize(8);
  for (uint32_t s = 0; s < 8; ++s)
    g.indices.streams[s].push_back_n(lists[s], 6);
  MaterialGroup& m = g.materials.push_back_default();
  m.name = "paint";
  m.primitives.push_back(1); // triangle 0 has no material
}

// Every corner of every primitive against the document's values.
// `per_triangle`: add_square's tangents and colours as made; otherwise
// every corner uses the first of each.
void expect_corners_match(const SceneDatabase& db, const Glb& glb, const char* name, int mesh, bool per_triangle) {
  auto g_entry = db.geometries.find(name);
  const SceneGeometry& g = g_entry.value();
  auto value = [&](uint32_t stream, uint32_t corner, uint32_t component) {
    uint32_t e = g.indices.streams[stream][corner];
    float f;
    memcpy(&f, g.streams[stream].data.data() + e * g.streams[stream].stride + 4 * component, 4);
    return double(f);
  };
  const DynamicConfigValue& primitives = glb.j().get("meshes").at(uint32_t(mesh)).get("primitives");
  std::vector<int> seen(g.indices.size / 3, 0);
  for (uint32_t p = 0; p < primitives.size(); ++p) {
    const DynamicConfigValue& prim = primitives.at(p);
    const DynamicConfigValue& attr = prim.get("attributes");
    int indices = prim.get("indices").to_integer();
    // Triangles of a primitive come in the order of their group, then
    // ascending for the ungrouped ones.
    std::vector<uint32_t> triangles;
    if (prim.has("material")) {
      const char* material =
          glb.j().get("materials").at(uint32_t(prim.get("material").to_integer())).get("name").to_string();
      for (const MaterialGroup& m : g.materials)
        if (strcmp(m.name.c_str(), material) == 0)
          triangles.assign(m.primitives.begin(), m.primitives.end());
    } else {
      for (uint32_t t = 0; t < g.indices.size / 3; ++t)
        if (!seen[t])
          triangles.push_back(t);
    }
    ASSERT_EQ(glb.count(indices), triangles.size() * 3);
    for (uint32_t k = 0; k < triangles.size() * 3; ++k) {
      uint32_t corner = 3 * triangles[k / 3] + k % 3;
      if (k % 3 == 0)
        ++seen[corner / 3];
      uint32_t v = uint32_t(glb.read(indices, k, 0));
      for (uint32_t c = 0; c < 3; ++c)
        EXPECT_EQ(glb.read(attr.get("POSITION").to_integer(), v, c), value(0, corner, c)) << "corner " << corner;
      EXPECT_NEAR(glb.read(attr.get("NORMAL").to_integer(), v, 2), 1.0, 1e-7);
      // UVs: v flipped to glTF's top-left origin.
      EXPECT_EQ(glb.read(attr.get("TEXCOORD_0").to_integer(), v, 0), value(6, corner, 0));
      EXPECT_EQ(glb.read(attr.get("TEXCOORD_0").to_integer(), v, 1), 1.0 - value(6, corner, 1));
      EXPECT_EQ(glb.read(attr.get("TEXCOORD_1").to_integer(), v, 1), 1.0 - 0.75);
      // Handedness from the binormal: +1 on triangle 0, -1 on triangle 1.
      bool first = corner < 3 || !per_triangle;
      EXPECT_EQ(glb.read(attr.get("TANGENT").to_integer(), v, 3), first ? 1.0 : -1.0);
      EXPECT_EQ(glb.read(attr.get("COLOR_0").to_integer(), v, 3), first ? 1.0 : 0.5);
      EXPECT_EQ(glb.read(attr.get("COLOR_0").to_integer(), v, 1), first ? 0.5 : 1.0);
    }
  }
  for (uint32_t t = 0; t < seen.size(); ++t)
    EXPECT_EQ(seen[t], 1) << "triangle " << t;
}

} // namespace

TEST(GltfMatrix, DecomposesTranslationRotationScaleAndComposesBack) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> u(-1.0f, 1.0f);
  for (int i = 0; i < 2000; ++i) {
    Trs trs;
    double q[4] = {u(rng), u(rng), u(rng), u(rng)};
    double n = sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (int k = 0; k < 4; ++k)
      trs.rotation[k] = float(q[k] / n);
    for (int k = 0; k < 3; ++k) {
      trs.translation[k] = u(rng) * 100;
      trs.scale[k] = (0.05f + fabsf(u(rng)) * 4) * (i % 4 == 0 && k == 1 ? -1.0f : 1.0f);
    }
    float m[16], back[16];
    compose_matrix(trs, m);
    Trs out;
    ASSERT_TRUE(decompose_matrix(m, out)) << i;
    compose_matrix(out, back);
    for (int k = 0; k < 16; ++k)
      ASSERT_NEAR(back[k], m[k], 1e-5 * (1 + fabs(m[k]))) << i << " element " << k;
    EXPECT_NEAR(out.rotation[0] * out.rotation[0] + out.rotation[1] * out.rotation[1] +
                    out.rotation[2] * out.rotation[2] + out.rotation[3] * out.rotation[3],
                1.0, 1e-6);
  }
  // A mirror on y becomes a negative scale on x with a half turn.
  float mirror[16];
  identity(mirror);
  mirror[5] = -1;
  Trs t;
  EXPECT_TRUE(decompose_matrix(mirror, t));
  float back[16];
  compose_matrix(t, back);
  for (int k = 0; k < 16; ++k)
    EXPECT_NEAR(back[k], mirror[k], 1e-6);
  // A zero scale still gives a unit rotation.
  float flat[16];
  identity(flat);
  flat[0] = 0;
  EXPECT_TRUE(decompose_matrix(flat, t));
  EXPECT_EQ(t.scale[0], 0.0f);
  EXPECT_NEAR(t.rotation[3], 1.0, 1e-7);
  // Shear and projection are not translation, rotation and scale.
  float shear[16];
  identity(shear);
  shear[4] = 0.3f; // y's image leans towards x
  EXPECT_FALSE(decompose_matrix(shear, t));
  float projective[16];
  identity(projective);
  projective[3] = 0.01f;
  EXPECT_FALSE(decompose_matrix(projective, t));
}

TEST(GltfWriter, BuildsOneVertexPerDistinctIndexTupleAndKeepsEveryCorner) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  db.source_path = "C:/scenes/square.mb";
  SceneNode& node = add_node(db, "square", "");
  node.local[12] = 2; // a translation
  node.geometries.push_back_default() = "square";
  add_square(db, "square");
  Converted c;
  convert(db, c);
  ASSERT_TRUE(c.ok) << c.error.c_str();
  // Tangents and colours differ per triangle: no corner can be shared.
  EXPECT_EQ(c.summary.vertices, 6u);
  EXPECT_EQ(c.summary.primitives, 2u);
  EXPECT_EQ(c.summary.colours_clamped, 2u);
  EXPECT_TRUE(c.has_note("1 triangles have no material"));
  expect_corners_match(db, c.glb, "square", 0, true);
  {
    // With one tangent and colour for all, only the UV seam splits a
    // position: corners 2 and 4 become one vertex, 0 and 3 stay two.
    SceneDatabase shared(a);
    add_node(shared, "square", "").geometries.push_back_default() = "square";
    add_square(shared, "square");
    for (uint32_t s = 2; s < 6; ++s)
      for (uint32_t& i : shared.geometries.get_or_insert("square").indices.streams[s])
        i = 0;
    Converted d;
    convert(shared, d);
    ASSERT_TRUE(d.ok);
    EXPECT_EQ(d.summary.vertices, 5u);
    EXPECT_EQ(d.summary.colours_clamped, 0u);
    expect_corners_match(shared, d.glb, "square", 0, false);
  }

  const DynamicConfigValue& j = c.glb.j();
  EXPECT_STREQ(j.get("asset").get("version").to_string(), "2.0");
  EXPECT_STREQ(j.get("asset").get("extras").get("source_path").to_string(), "C:/scenes/square.mb");
  const DynamicConfigValue& n0 = j.get("nodes").at(0);
  EXPECT_STREQ(n0.get("name").to_string(), "square");
  EXPECT_EQ(n0.get("translation").at(0).to_float(), 2.0f);
  EXPECT_FALSE(n0.has("rotation")); // identity parts are left out
  EXPECT_FALSE(n0.has("matrix"));
  // Positions carry their bounds.
  int pos = j.get("meshes").at(0).get("primitives").at(0).get("attributes").get("POSITION").to_integer();
  const DynamicConfigValue& acc = j.get("accessors").at(uint32_t(pos));
  EXPECT_EQ(acc.get("min").at(1).to_float(), 0.0f);
  EXPECT_EQ(acc.get("max").at(0).to_float(), 1.0f);
  EXPECT_STREQ(j.get("materials").at(0).get("name").to_string(), "paint");
  EXPECT_EQ(j.get("scenes").at(0).get("nodes").at(0).to_integer(), 0);

  // The .gltf form embeds the same bytes as base64.
  Converted text;
  convert(db, text, false);
  ASSERT_TRUE(text.ok);
  DynamicConfigValue json(memory_globals::default_allocator());
  ASSERT_TRUE(simplified_json::try_parse_untrusted(reinterpret_cast<const char*>(text.file.data()),
                                                   text.file.size(), json, nullptr));
  const DynamicConfigValue& buffer = static_cast<const DynamicConfigValue&>(json).get("buffers").at(0);
  std::string uri = buffer.get("uri").to_string();
  const std::string prefix = "data:application/octet-stream;base64,";
  ASSERT_EQ(uri.compare(0, prefix.size(), prefix), 0);
  std::vector<uint8_t> decoded;
  uint32_t bits = 0, count = 0;
  for (size_t i = prefix.size(); i < uri.size() && uri[i] != '='; ++i) {
    const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char* at = strchr(digits, uri[i]);
    ASSERT_TRUE(at && *at) << "not a base64 digit: " << uri[i];
    bits = (bits << 6) | uint32_t(at - digits);
    if ((count += 6) >= 8) {
      count -= 8;
      decoded.push_back(uint8_t(bits >> count));
    }
  }
  EXPECT_EQ(decoded, c.glb.bin);
  EXPECT_EQ(buffer.get("byteLength").to_integer(), int32_t(c.glb.bin.size()));
}

TEST(GltfWriter, ReportsWhatGltfCannotHold) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  SceneNode& node = add_node(db, "sheared", "");
  node.local[4] = 0.5f;
  node.geometries.push_back_default() = "square";
  node.geometries.push_back_default() = "extra";
  add_square(db, "square");
  add_square(db, "extra");
  SceneGeometry& g = db.geometries.get_or_insert("square");
  g.smoothing.push_back(1);
  const float heat[4] = {1, 2, 3, 4};
  memcpy(add_stream(g.streams, "HEAT", 0, CT_FLOAT1, 4), heat, sizeof(heat));
  g.indices.streams.resize(g.streams.size());
  for (uint32_t i = 0; i < 6; ++i)
    g.indices.streams.back().push_back(g.indices.streams[0][i]);
  add_square(db, "orphan"); // on no node
  Converted c;
  convert(db, c);
  ASSERT_TRUE(c.ok) << c.error.c_str();
  EXPECT_TRUE(c.has_note("node \"sheared\": its local matrix has shear or projection; written as \"matrix\""));
  EXPECT_TRUE(c.has_note("smoothing group"));
  EXPECT_TRUE(c.has_note("channel HEAT[0] has no glTF attribute"));
  EXPECT_TRUE(c.has_note("geometry \"extra\" is its second; written on a child node"));
  EXPECT_TRUE(c.has_note("geometry \"orphan\" is on no node"));
  const DynamicConfigValue& nodes = c.glb.j().get("nodes");
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_EQ(nodes.at(0).get("matrix").at(4).to_float(), 0.5f);
  EXPECT_STREQ(nodes.at(1).get("name").to_string(), "extra");
  EXPECT_EQ(nodes.at(0).get("children").at(0).to_integer(), 1);
  EXPECT_EQ(c.summary.meshes, 2u);
}

TEST(GltfWriter, SkinsNormaliseWeightsAndRefuseJointsBeyondTheSkin) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  add_node(db, "body", "").geometries.push_back_default() = "body";
  add_node(db, "hip", "");
  add_node(db, "knee", "hip").local[13] = -0.5f;
  SceneSkin& skin = db.skins.get_or_insert("body");
  identity(skin.bind_matrix);
  skin.bind_matrix[13] = 1.0f; // the shape sits 1 m up
  for (const char* j : {"hip", "knee"}) {
    SkinJoint& joint = skin.joints.push_back_default();
    joint.name = j;
    identity(joint.inv_bind_matrix);
    joint.inv_bind_matrix[13] = strcmp(j, "hip") == 0 ? -1.0f : -0.5f;
  }
  SceneGeometry& g = db.geometries.get_or_insert("body");
  const float p[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  memcpy(add_stream(g.streams, "POSITION", 0, CT_FLOAT3, 3), p, sizeof(p));
  const float n[3] = {0, 0, 1};
  memcpy(add_stream(g.streams, "NORMAL", 0, CT_FLOAT3, 1), n, sizeof(n));
  // Vertex 0: weights summing to 0.8; vertex 1: whole; vertex 2: none.
  const float w[6] = {0.6f, 0.2f, 1.0f, 0.0f, 0.0f, 0.0f};
  memcpy(add_stream(g.streams, "BLENDWEIGHTS", 0, CT_FLOAT2, 3), w, sizeof(w));
  float j[6] = {0, 1, 1, 0, 0, 0};
  memcpy(add_stream(g.streams, "BLENDINDICES", 0, CT_FLOAT2, 3), j, sizeof(j));
  g.indices.size = 3;
  g.indices.streams.resize(4);
  for (uint32_t s = 0; s < 4; ++s)
    for (uint32_t i = 0; i < 3; ++i)
      g.indices.streams[s].push_back(s == 1 ? 0 : i);
  g.skin = "body";
  Converted c;
  convert(db, c);
  ASSERT_TRUE(c.ok) << c.error.c_str();
  EXPECT_EQ(c.summary.weights_normalised, 2u);
  EXPECT_EQ(c.summary.unweighted, 1u);
  const DynamicConfigValue& attr = c.glb.j().get("meshes").at(0).get("primitives").at(0).get("attributes");
  int weights = attr.get("WEIGHTS_0").to_integer(), joints = attr.get("JOINTS_0").to_integer();
  for (uint32_t v = 0; v < 3; ++v) {
    double sum = 0;
    for (uint32_t k = 0; k < 4; ++k)
      sum += c.glb.read(weights, v, k);
    EXPECT_EQ(sum, 1.0) << v;
  }
  EXPECT_NEAR(c.glb.read(weights, 0, 0), 0.75, 1e-7);
  EXPECT_EQ(c.glb.read(joints, 0, 1), 1.0);
  EXPECT_EQ(c.glb.read(joints, 1, 0), 1.0);
  EXPECT_EQ(c.glb.read(weights, 1, 1), 0.0);
  // The inverse bind matrix of a joint starts from the shape's space.
  const DynamicConfigValue& s = c.glb.j().get("skins").at(0);
  EXPECT_EQ(s.get("joints").at(1).to_integer(), 2); // nodes: body, hip, knee
  int ibm = s.get("inverseBindMatrices").to_integer();
  EXPECT_EQ(c.glb.read(ibm, 0, 13), 0.0);
  EXPECT_EQ(c.glb.read(ibm, 1, 13), 0.5);
  EXPECT_EQ(c.glb.j().get("nodes").at(0).get("skin").to_integer(), 0);

  j[2] = 2; // a joint number the skin does not have
  memcpy(g.streams[3].data.data(), j, sizeof(j));
  Converted bad;
  convert(db, bad);
  EXPECT_FALSE(bad.ok);
  EXPECT_STREQ(bad.error.c_str(),
               "geometry \"body\": skin element 1 names joint number 2, but skin \"body\" has 2 joints");

  // A joint that is not a node: the mesh stays, without its skin.
  j[2] = 1;
  memcpy(g.streams[3].data.data(), j, sizeof(j));
  skin.joints[1].name = "ankle";
  Converted unskinned;
  convert(db, unskinned);
  ASSERT_TRUE(unskinned.ok);
  EXPECT_TRUE(unskinned.has_note("joint \"ankle\" is not a node of the document"));
  EXPECT_FALSE(unskinned.glb.j().get("meshes").at(0).get("primitives").at(0).get("attributes").has("JOINTS_0"));
}

TEST(GltfWriter, AnimationBecomesLinearChannelsOnTheShortPath) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  add_node(db, "spin", "");
  add_node(db, "still", "");
  for (const char* name : {"spin", "still"}) {
    SceneAnimation& anim = db.animations.push_back_default();
    anim.node = name;
    anim.parameter = "matrix";
    StreamChannel& ch = anim.stream.channels.push_back_default();
    ch.name = "local_tm";
    ch.type = CT_MATRIX4x4;
    anim.stream.stride = 64;
    anim.stream.size = 3;
    anim.stream.data.resize(3 * 64);
    for (uint32_t i = 0; i < 3; ++i) {
      // A turn about Y of 0, 170 and 190 degrees: the last is the short way
      // on from 170 only if its quaternion keeps the sign of the one before.
      double angle = strcmp(name, "spin") == 0 ? (i == 0 ? 0 : i == 1 ? 170 : 190) * 3.14159265358979323846 / 180 : 0;
      float m[16];
      identity(m);
      m[0] = float(cos(angle));
      m[2] = float(-sin(angle));
      m[8] = float(sin(angle));
      m[10] = float(cos(angle));
      m[12] = float(i);
      memcpy(anim.stream.data.data() + 64 * i, m, 64);
      anim.times.push_back(float(i) / 30.0f);
    }
  }
  SceneAnimation& broken = db.animations.push_back_default();
  broken.node = "still";
  broken.parameter = "visibility";
  Converted c;
  convert(db, c);
  ASSERT_TRUE(c.ok) << c.error.c_str();
  EXPECT_TRUE(c.has_note("animation of \"still\".visibility: only matrix animations"));
  EXPECT_EQ(c.summary.animation_channels, 6u);
  const DynamicConfigValue& anim = c.glb.j().get("animations").at(0);
  const DynamicConfigValue& samplers = anim.get("samplers");
  ASSERT_EQ(samplers.size(), 6u);
  // One shared time accessor, with its bounds.
  EXPECT_EQ(samplers.at(0).get("input").to_integer(), samplers.at(5).get("input").to_integer());
  int input = samplers.at(0).get("input").to_integer();
  EXPECT_EQ(c.glb.j().get("accessors").at(uint32_t(input)).get("max").at(0).to_float(), 2.0f / 30.0f);
  EXPECT_STREQ(samplers.at(1).get("interpolation").to_string(), "LINEAR");
  EXPECT_STREQ(anim.get("channels").at(1).get("target").get("path").to_string(), "rotation");
  int rotation = samplers.at(1).get("output").to_integer();
  double dot = 0;
  for (uint32_t k = 0; k < 4; ++k)
    dot += c.glb.read(rotation, 1, k) * c.glb.read(rotation, 2, k);
  EXPECT_GT(dot, 0.9);
  EXPECT_EQ(c.glb.read(samplers.at(0).get("output").to_integer(), 2, 0), 2.0);
}

TEST(GltfWriter, RefusesIndicesBeyondTheirStreamAndEmptyScenesStayValid) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  add_node(db, "square", "").geometries.push_back_default() = "square";
  add_square(db, "square");
  db.geometries.get_or_insert("square").indices.streams[6][4] = 5;
  Converted c;
  convert(db, c);
  EXPECT_FALSE(c.ok);
  EXPECT_STREQ(c.error.c_str(), "geometry \"square\": index 4 of list 6 is 5, beyond the stream's 5 elements");

  SceneDatabase empty(a);
  Converted e;
  convert(empty, e);
  ASSERT_TRUE(e.ok);
  // No empty arrays (glTF forbids them), one scene without nodes.
  EXPECT_FALSE(e.glb.j().has("nodes"));
  EXPECT_FALSE(e.glb.j().has("buffers"));
  EXPECT_TRUE(e.glb.j().get("scenes").at(0).is_object());
  EXPECT_EQ(e.file.size() % 4, 0u);
}

// Two joint chains side by side under the world, one skin over both: glTF
// wants one root above a skin's joints, so the two roots are written under
// an added node of identity transform, which the skin names as its
// skeleton; nothing else moves.
TEST(GltfWriter, ASkinOverSeparateRootsGetsOneSkeletonRoot) {
  Allocator& a = memory_globals::default_allocator();
  SceneDatabase db(a);
  add_node(db, "body", "").geometries.push_back_default() = "body";
  add_node(db, "left", "").local[12] = -1.0f;
  add_node(db, "left_hand", "left");
  add_node(db, "right", "").local[12] = 1.0f;
  add_node(db, "right_hand", "right");
  add_node(db, "prop", "");
  SceneSkin& skin = db.skins.get_or_insert("body");
  identity(skin.bind_matrix);
  for (const char* j : {"left_hand", "right_hand"}) {
    SkinJoint& joint = skin.joints.push_back_default();
    joint.name = j;
    identity(joint.inv_bind_matrix);
  }
  SceneGeometry& g = db.geometries.get_or_insert("body");
  const float p[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  memcpy(add_stream(g.streams, "POSITION", 0, CT_FLOAT3, 3), p, sizeof(p));
  const float n[3] = {0, 0, 1};
  memcpy(add_stream(g.streams, "NORMAL", 0, CT_FLOAT3, 1), n, sizeof(n));
  const float w[3] = {1, 1, 1};
  memcpy(add_stream(g.streams, "BLENDWEIGHTS", 0, CT_FLOAT1, 3), w, sizeof(w));
  const float j[3] = {0, 1, 1};
  memcpy(add_stream(g.streams, "BLENDINDICES", 0, CT_FLOAT1, 3), j, sizeof(j));
  g.indices.size = 3;
  g.indices.streams.resize(4);
  for (uint32_t s = 0; s < 4; ++s)
    for (uint32_t i = 0; i < 3; ++i)
      g.indices.streams[s].push_back(s == 1 ? 0 : i);
  g.skin = "body";
  Converted c;
  convert(db, c);
  ASSERT_TRUE(c.ok) << c.error.c_str();
  const DynamicConfigValue& nodes = c.glb.j().get("nodes");
  // Document nodes depth first: body 0, left 1, left_hand 2, right 3,
  // right_hand 4, prop 5; then the added root.
  ASSERT_EQ(7u, nodes.size());
  const DynamicConfigValue& group = nodes.at(6);
  EXPECT_STREQ("left_skeleton", group.get("name").to_string());
  EXPECT_FALSE(group.has("translation") || group.has("rotation") || group.has("scale") || group.has("matrix"));
  ASSERT_EQ(2u, group.get("children").size());
  EXPECT_EQ(1, group.get("children").at(0).to_integer());
  EXPECT_EQ(3, group.get("children").at(1).to_integer());
  EXPECT_FLOAT_EQ(-1.0f, nodes.at(1).get("translation").at(0).to_float()) << "the roots keep their own transforms";
  const DynamicConfigValue& scene = c.glb.j().get("scenes").at(0).get("nodes");
  ASSERT_EQ(3u, scene.size()) << "body, the added root in place of left and right, prop";
  EXPECT_EQ(0, scene.at(0).to_integer());
  EXPECT_EQ(6, scene.at(1).to_integer());
  EXPECT_EQ(5, scene.at(2).to_integer());
  EXPECT_EQ(6, c.glb.j().get("skins").at(0).get("skeleton").to_integer());
  EXPECT_TRUE(c.has_note("have no common parent")) << "said";

  // Joints under one root already: nothing is added.
  skin.joints[1].name = "left";
  Converted one;
  convert(db, one);
  ASSERT_TRUE(one.ok);
  EXPECT_EQ(6u, one.glb.j().get("nodes").size());
  EXPECT_FALSE(one.glb.j().get("skins").at(0).has("skeleton"));
}
