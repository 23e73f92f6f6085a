// SJSON text: our float formatter, writer and parser against RapidJSON
// (Writer, DOM parse), nlohmann::json and a printer that formats each value
// with snprintf, in one run on inputs generated from a fixed seed.
#include "bench_support.h"

#include "foundation/config/parse_simplified_json.h"
#include "foundation/config/sjson_writer.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/utility/float_format.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <random>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <stdio.h>
#include <string>
#include <vector>

using namespace foundation;

namespace {

const uint32_t VERTICES = 200000;

const size_t FLOAT_SAMPLE = 1 << 20;  // values the formatter benchmarks cycle through
std::vector<float> g_floats;         // exporter-like values for the formatter
DCV* g_mesh = nullptr;               // the exporter-like document
DCV* g_objects = nullptr;            // the object-heavy document
rapidjson::Document g_rapid_mesh;    // the same document for RapidJSON's Writer
std::string g_mesh_json;             // JSON text of the mesh, floats as %g
std::string g_objects_json;
std::string g_mesh_sjson;            // SJSON text of the mesh

// Streams of positions (metres), normals and UVs, as a geometry in a twi file.
void make_mesh(DCV& root, std::mt19937& rng) {
  std::uniform_real_distribution<float> pos(-2.0f, 2.0f), unit(-1.0f, 1.0f), uv(0.0f, 1.0f);
  DCV& streams = root.get("geometries").get("body").get("streams");
  const char* names[3] = {"POSITION", "NORMAL", "TEXCOORD"};
  const int widths[3] = {3, 3, 2};
  for (int s = 0; s < 3; ++s) {
    DCV& stream = streams.push_back();
    DCV& channel = stream.get("channels").push_back();
    channel.get("name").set_string(names[s]);
    channel.get("index").set_integer(0);
    channel.get("type").set_string(widths[s] == 3 ? "CT_FLOAT3" : "CT_FLOAT2");
    stream.get("size").set_integer(int32_t(VERTICES));
    stream.get("stride").set_integer(widths[s] * 4);
    DCV& data = stream.get("data");
    data.set_array();
    for (uint32_t v = 0; v < VERTICES * uint32_t(widths[s]); ++v) {
      float f = s == 0 ? pos(rng) : (s == 1 ? unit(rng) : uv(rng));
      data.push_back().set_float(f);
    }
  }
  root.get("source_path").set_string("C:/projects/character/body.mb");
}

// 20,000 nodes of eight members each, nested two levels.
void make_objects(DCV& root, std::mt19937& rng) {
  DCV& nodes = root.get("nodes");
  for (int i = 0; i < 20000; ++i) {
    DCV& n = nodes.get(("node_" + std::to_string(i)).c_str());
    n.get("parent").set_string(("group_" + std::to_string(i / 100)).c_str());
    n.get("visible").set_bool(rng() % 2 == 0);
    n.get("layer").set_integer(int32_t(rng() % 16));
    n.get("material").set_string("cloth_mat");
    n.get("tags").push_back().set_string("static");
    n.get("lod").get("near").set_integer(10);
    n.get("lod").get("far").set_integer(int32_t(100 + rng() % 900));
    n.get("id").set_integer(i);
  }
}

// JSON text with floats formatted as %g (valid JSON), readable by all three parsers.
void to_json(const DCV& v, std::string& out) {
  char buffer[FLOAT_G_MAX_CHARS];
  switch (v.kind()) {
  case DCV::NIL:
    out += "null";
    break;
  case DCV::BOOL:
    out += v.to_bool() ? "true" : "false";
    break;
  case DCV::INTEGER:
    out += std::to_string(v.to_integer());
    break;
  case DCV::FLOAT:
    out.append(buffer, format_float_g(v.to_float(), buffer));
    break;
  case DCV::STRING:
    out += '"';
    out += v.to_string();
    out += '"';
    break;
  case DCV::ARRAY:
    out += '[';
    for (uint32_t i = 0; i < v.size(); ++i) {
      if (i)
        out += ',';
      to_json(v.at(i), out);
    }
    out += ']';
    break;
  case DCV::OBJECT: {
    out += '{';
    bool first = true;
    for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
      if (!first)
        out += ',';
      first = false;
      out += '"';
      out += it.key().c_str();
      out += "\":";
      to_json(it.value(), out);
    }
    out += '}';
    break;
  }
  default:
    break;
  }
}

void to_rapid(const DCV& v, rapidjson::Value& out, rapidjson::Document::AllocatorType& a) {
  switch (v.kind()) {
  case DCV::BOOL:
    out.SetBool(v.to_bool());
    break;
  case DCV::INTEGER:
    out.SetInt(v.to_integer());
    break;
  case DCV::FLOAT:
    out.SetDouble(double(v.to_float()));
    break;
  case DCV::STRING:
    out.SetString(v.to_string(), a);
    break;
  case DCV::ARRAY:
    out.SetArray();
    out.Reserve(v.size(), a);
    for (uint32_t i = 0; i < v.size(); ++i) {
      rapidjson::Value e;
      to_rapid(v.at(i), e, a);
      out.PushBack(e, a);
    }
    break;
  case DCV::OBJECT:
    out.SetObject();
    for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
      rapidjson::Value key(it.key().c_str(), a), e;
      to_rapid(it.value(), e, a);
      out.AddMember(key, e, a);
    }
    break;
  default:
    out.SetNull();
  }
}

// The same SJSON text as write_sjson, each number through snprintf.
void snprintf_sjson(const DCV& v, std::string& out, int level) {
  char buffer[64];
  switch (v.kind()) {
  case DCV::NIL:
    out += "null";
    break;
  case DCV::BOOL:
    out += v.to_bool() ? "true" : "false";
    break;
  case DCV::INTEGER:
    out.append(buffer, size_t(snprintf(buffer, sizeof(buffer), "%i", v.to_integer())));
    break;
  case DCV::FLOAT:
    out.append(buffer, size_t(snprintf(buffer, sizeof(buffer), "%g", double(v.to_float()))));
    break;
  case DCV::STRING:
    out += '"';
    out += v.to_string();
    out += '"';
    break;
  case DCV::ARRAY:
    out += '[';
    for (uint32_t i = 0; i < v.size(); ++i) {
      out += ' ';
      snprintf_sjson(v.at(i), out, level + 1);
    }
    out += " ]";
    break;
  case DCV::OBJECT:
    if (level < 0) {
      // The root: members without braces, as write_sjson prints them.
      for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
        out += '\n';
        out += it.key().c_str();
        out += " = ";
        snprintf_sjson(it.value(), out, 0);
      }
      out += '\n';
      break;
    }
    out += '{';
    for (DCV::Iterator it = v.begin(); it != v.end(); ++it) {
      out += '\n';
      out.append(size_t(level + 1), '\t');
      out += it.key().c_str();
      out += " = ";
      snprintf_sjson(it.value(), out, level + 1);
    }
    out += '\n';
    out.append(size_t(level), '\t');
    out += '}';
    break;
  default:
    break;
  }
}

void format_ours(benchmark::State& state) {
  char buffer[FLOAT_G_MAX_CHARS];
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(format_float_g(g_floats[i], buffer));
    benchmark::ClobberMemory();
    i = (i + 1) & (FLOAT_SAMPLE - 1);
  }
}

void format_snprintf(benchmark::State& state) {
  char buffer[64];
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(snprintf(buffer, sizeof(buffer), "%g", double(g_floats[i])));
    benchmark::ClobberMemory();
    i = (i + 1) & (FLOAT_SAMPLE - 1);
  }
}

void format_to_chars(benchmark::State& state) {
  char buffer[64];
  size_t i = 0;
  for (auto _ : state) {
    auto r = std::to_chars(buffer, buffer + sizeof(buffer), double(g_floats[i]), std::chars_format::general, 6);
    benchmark::DoNotOptimize(r.ptr);
    benchmark::ClobberMemory();
    i = (i + 1) & (FLOAT_SAMPLE - 1);
  }
}

void write_ours(benchmark::State& state) {
  for (auto _ : state) {
    Vector<char> out(memory_globals::default_allocator());
    write_sjson(*g_mesh, out, SjsonWriteOptions());
    benchmark::DoNotOptimize(out.data());
  }
}

void write_rapidjson(benchmark::State& state) {
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    g_rapid_mesh.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetString());
  }
}

void write_snprintf(benchmark::State& state) {
  for (auto _ : state) {
    std::string out;
    snprintf_sjson(*g_mesh, out, -1);
    benchmark::DoNotOptimize(out.data());
  }
}

void parse_ours(const std::string& text, benchmark::State& state) {
  for (auto _ : state) {
    DCV doc(memory_globals::default_allocator());
    simplified_json::parse(text.data(), uint32_t(text.size()), doc);
    benchmark::DoNotOptimize(doc.kind());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void parse_rapid(const std::string& text, benchmark::State& state) {
  for (auto _ : state) {
    rapidjson::Document doc;
    doc.Parse(text.data(), text.size());
    benchmark::DoNotOptimize(doc.IsObject());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void parse_nlohmann(const std::string& text, benchmark::State& state) {
  for (auto _ : state) {
    nlohmann::json doc = nlohmann::json::parse(text);
    benchmark::DoNotOptimize(doc.is_object());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

} // namespace

int main(int argc, char** argv) {
  memory_globals::init();
  std::mt19937 rng(20261121);
  g_mesh = memory_globals::default_allocator().make_new<DCV>(memory_globals::default_allocator());
  g_objects = memory_globals::default_allocator().make_new<DCV>(memory_globals::default_allocator());
  make_mesh(*g_mesh, rng);
  make_objects(*g_objects, rng);
  const DCV& streams = g_mesh->get("geometries").get("body").get("streams");
  for (uint32_t s = 0; s < streams.size() && g_floats.size() < FLOAT_SAMPLE; ++s) {
    const DCV& data = streams.at(s).get("data");
    for (uint32_t i = 0; i < data.size() && g_floats.size() < FLOAT_SAMPLE; ++i)
      g_floats.push_back(data.at(i).to_float());
  }
  to_rapid(*g_mesh, g_rapid_mesh, g_rapid_mesh.GetAllocator());
  to_json(*g_mesh, g_mesh_json);
  to_json(*g_objects, g_objects_json);
  {
    Vector<char> text(memory_globals::default_allocator());
    write_sjson(*g_mesh, text, SjsonWriteOptions());
    g_mesh_sjson.assign(text.data(), text.size());
  }
  printf("mesh: %u floats, SJSON %.1f MB, JSON %.1f MB; objects: JSON %.1f MB\n", VERTICES * 8,
         g_mesh_sjson.size() / 1e6, g_mesh_json.size() / 1e6, g_objects_json.size() / 1e6);

  benchmark::RegisterBenchmark("format_float/ours", format_ours);
  benchmark::RegisterBenchmark("format_float/snprintf_g", format_snprintf);
  benchmark::RegisterBenchmark("format_float/to_chars_general6", format_to_chars);
  benchmark::RegisterBenchmark("write_mesh/write_sjson", write_ours)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("write_mesh/rapidjson_writer", write_rapidjson)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("write_mesh/snprintf_printer", write_snprintf)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_mesh_json/ours", [](benchmark::State& s) { parse_ours(g_mesh_json, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_mesh_sjson/ours", [](benchmark::State& s) { parse_ours(g_mesh_sjson, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_mesh_json/rapidjson_dom", [](benchmark::State& s) { parse_rapid(g_mesh_json, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_mesh_json/nlohmann", [](benchmark::State& s) { parse_nlohmann(g_mesh_json, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_objects_json/ours", [](benchmark::State& s) { parse_ours(g_objects_json, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_objects_json/rapidjson_dom",
                               [](benchmark::State& s) { parse_rapid(g_objects_json, s); })
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("parse_objects_json/nlohmann",
                               [](benchmark::State& s) { parse_nlohmann(g_objects_json, s); })
      ->Unit(benchmark::kMillisecond);

  if (!bench::run_all(argc, argv))
    return 1;

  bench::print_goals(
      "SJSON goals (ratios from this run)",
      {
          {"float formatter: speed-up over snprintf(\"%g\")", "format_float/ours", "format_float/snprintf_g", 8.0,
           false, true},
          {"float formatter: speed-up over to_chars(general, 6)", "format_float/ours",
           "format_float/to_chars_general6", 3.0, false, true},
          {"write_sjson of the mesh / RapidJSON Writer", "write_mesh/write_sjson", "write_mesh/rapidjson_writer",
           0.3, true},
          {"write_sjson of the mesh / snprintf printer", "write_mesh/write_sjson", "write_mesh/snprintf_printer",
           0.15, true},
          {"parse mesh JSON: ours / RapidJSON DOM", "parse_mesh_json/ours", "parse_mesh_json/rapidjson_dom", 1.0,
           true},
          {"parse mesh JSON: speed-up over nlohmann", "parse_mesh_json/ours", "parse_mesh_json/nlohmann", 5.0, false,
           true},
          {"parse objects JSON: ours / RapidJSON DOM (reference)", "parse_objects_json/ours",
           "parse_objects_json/rapidjson_dom", 0, true},
          {"parse objects JSON: speed-up over nlohmann (reference)", "parse_objects_json/ours",
           "parse_objects_json/nlohmann", 0, false, true},
      });
  memory_globals::default_allocator().make_delete(g_mesh);
  memory_globals::default_allocator().make_delete(g_objects);
  memory_globals::shutdown();
  return 0;
}
