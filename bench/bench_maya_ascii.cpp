// Loading Maya ASCII files in mayasim, and the whole .ma -> .twi conversion:
//
//   - load time and throughput of the largest files of the shared collection
//     (each loaded many times, from memory), against the floor any loader
//     must pay: scanning the text into words and converting every number
//     with std::from_chars (goal: loading costs at most twice that);
//   - generated scenes of about 10, 50 and 100 MB, written as Maya writes
//     (stored grid meshes with UVs and arrays in chunks, a skinned mesh,
//     joints with keyed channels): load from memory, load from the file,
//     the resident set, and load + export through the plug-in module to a
//     .twi file, with the time per megabyte at each size to show how the
//     cost grows.
//
//   bench_maya_ascii [--quick]   (--quick: scenes of about 1, 5 and 10 MB)
#include "bench_process.h"
#include "mayasim/host.h"
#include "mayasim/maya_ascii.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>
#include <string>
#include <vector>

namespace {


std::string read_file(const std::string& path) {
  std::string text;
  FILE* f = fopen(path.c_str(), "rb");
  if (!f)
    return text;
  char buffer[1 << 16];
  size_t got;
  while ((got = fread(buffer, 1, sizeof(buffer), f)) > 0)
    text.append(buffer, got);
  fclose(f);
  return text;
}

// Appends numbers as Maya writes them: a few to a line, lines indented.
class Writer {
public:
  explicit Writer(std::string& out) : _out(out) {}
  void number(double v) {
    char text[32];
    int n = snprintf(text, sizeof(text), "%.9g", v);
    if (_count && _count % 12 == 0)
      _out += "\n\t\t";
    _out += ' ';
    _out.append(text, size_t(n));
    ++_count;
  }
  void end() {
    _out += ";\n";
    _count = 0;
  }

private:
  std::string& _out;
  int _count = 0;
};

// A grid of n x n quads in a stored mesh, its arrays in chunks of 5000
// elements as Maya splits them.
void grid_mesh(std::string& out, const std::string& name, const std::string& parent, int n, double offset,
               bool intermediate = false) {
  const int CHUNK = 5000;
  int row = n + 1;
  int points = row * row;
  out += "createNode mesh -n \"" + name + "\" -p \"" + parent + "\";\n";
  out += "\tsetAttr -k off \".v\";\n\tsetAttr \".uvst[0].uvsn\" -type \"string\" \"map1\";\n";
  if (intermediate)
    out += "\tsetAttr \".io\" yes;\n";
  Writer w(out);
  for (int first = 0; first < points; first += CHUNK) {
    int last = std::min(points, first + CHUNK) - 1;
    out += "\tsetAttr -s " + std::to_string(points) + " \".uvst[0].uvsp[" + std::to_string(first) + ":" +
           std::to_string(last) + "]\" -type \"float2\"";
    for (int p = first; p <= last; ++p) {
      w.number(double(p % row) / n);
      w.number(double(p / row) / n);
    }
    w.end();
  }
  out += "\tsetAttr \".cuvs\" -type \"string\" \"map1\";\n";
  for (int first = 0; first < points; first += CHUNK) {
    int last = std::min(points, first + CHUNK) - 1;
    out += "\tsetAttr -s " + std::to_string(points) + " \".vt[" + std::to_string(first) + ":" + std::to_string(last) +
           "]\" ";
    for (int p = first; p <= last; ++p) {
      w.number(offset + (p % row) * 0.37);
      w.number(0.01 * ((p * 7919) % 101));
      w.number((p / row) * 0.37);
    }
    w.end();
  }
  // Edges: the horizontal ones (row by row), then the vertical ones.
  int horizontal = n * row;
  int edges = 2 * n * row;
  for (int first = 0; first < edges; first += CHUNK) {
    int last = std::min(edges, first + CHUNK) - 1;
    out += "\tsetAttr -s " + std::to_string(edges) + " \".ed[" + std::to_string(first) + ":" +
           std::to_string(last) + "]\" ";
    for (int e = first; e <= last; ++e) {
      int a, b;
      if (e < horizontal) {
        a = (e / n) * row + e % n;
        b = a + 1;
      } else {
        int v = e - horizontal;
        a = (v / row) * row + v % row;
        b = a + row;
      }
      w.number(a);
      w.number(b);
      w.number(1);
    }
    w.end();
  }
  int faces = n * n;
  for (int first = 0; first < faces; first += CHUNK) {
    int last = std::min(faces, first + CHUNK) - 1;
    out += "\tsetAttr -s " + std::to_string(faces) + " -ch " + std::to_string(faces * 4) + " \".fc[" +
           std::to_string(first) + ":" + std::to_string(last) + "]\" -type \"polyFaces\" \n";
    for (int f = first; f <= last; ++f) {
      int r = f / n, c = f % n;
      int bottom = r * n + c, top = (r + 1) * n + c;
      int left = horizontal + r * row + c, right = left + 1;
      int v = r * row + c;
      out += "\t\tf 4 " + std::to_string(bottom) + " " + std::to_string(right) + " " + std::to_string(-1 - top) + " " +
             std::to_string(-1 - left) + "\n\t\tmu 0 4 " + std::to_string(v) + " " + std::to_string(v + 1) + " " +
             std::to_string(v + row + 1) + " " + std::to_string(v + row) + (f == last ? ";\n" : "\n");
    }
  }
}

// About `megabytes` of scene: grid meshes, a skinned one, keyed joints.
std::string generated_scene(double megabytes) {
  std::string out = "//Maya ASCII 2020 scene\n//Name: generated.ma\nrequires maya \"2020\";\n"
                    "currentUnit -l centimeter -a degree -t film;\n";
  out.reserve(size_t(megabytes * 1.1e6));
  // Joints with every channel keyed over 100 frames.
  Writer w(out);
  std::string parent;
  for (int j = 0; j < 50; ++j) {
    std::string name = "joint" + std::to_string(j + 1);
    out += "createNode joint -n \"" + name + "\"" + (parent.empty() ? "" : " -p \"" + parent + "\"") + ";\n";
    out += "\tsetAttr \".t\" -type \"double3\" 0 10 0 ;\n";
    parent = name;
  }
  const char* channels[] = {"translateX", "translateY", "translateZ", "rotateX", "rotateY", "rotateZ"};
  std::string connections;
  for (int j = 0; j < 50; ++j)
    for (const char* ch : channels) {
      std::string curve = "joint" + std::to_string(j + 1) + "_" + ch;
      out += "createNode animCurve" + std::string(ch[0] == 't' ? "TL" : "TA") + " -n \"" + curve + "\";\n";
      out += "\tsetAttr \".tan\" 18;\n\tsetAttr \".wgt\" no;\n\tsetAttr -s 100 \".ktv[0:99]\" ";
      for (int k = 0; k < 100; ++k) {
        w.number(k + 1);
        w.number(10.0 * ((k * 31 + j) % 17) / 17.0);
      }
      w.end();
      connections += "connectAttr \"" + curve + ".o\" \"joint" + std::to_string(j + 1) + "." +
                     std::string(1, ch[0]) + std::string(1, char(tolower(ch[strlen(ch) - 1]))) + "\";\n";
    }
  // A skinned grid bound to the first two joints.
  out += "createNode transform -n \"skinned\";\n";
  out += "createNode mesh -n \"skinnedShape\" -p \"skinned\";\n";
  grid_mesh(out, "skinnedShapeOrig", "skinned", 40, 0, true);
  out += "createNode skinCluster -n \"skinCluster1\";\n\tsetAttr -s 1681 \".wl\";\n\tsetAttr \".wl[0:1680].w\"\n";
  for (int v = 0; v < 1681; ++v)
    out += "\t\t2 0 " + std::to_string((v % 41) / 40.0) + " 1 " + std::to_string(1 - (v % 41) / 40.0) + "\n";
  out += "\t\t;\n\tsetAttr \".pm[0]\" -type \"matrix\" 1 0 0 0 0 1 0 0 0 0 1 0 0 -10 0 1;\n"
         "\tsetAttr \".pm[1]\" -type \"matrix\" 1 0 0 0 0 1 0 0 0 0 1 0 0 -20 0 1;\n";
  connections += "connectAttr \"skinCluster1.og[0]\" \"skinnedShape.i\";\n"
                 "connectAttr \"skinnedShapeOrig.w\" \"skinCluster1.ip[0].ig\";\n"
                 "connectAttr \"joint1.wm\" \"skinCluster1.ma[0]\";\n"
                 "connectAttr \"joint2.wm\" \"skinCluster1.ma[1]\";\n"
                 "connectAttr \"skinnedShape.iog\" \":initialShadingGroup.dsm\" -na;\n";
  // The rest: grids of 100 x 100 quads.
  for (int m = 0; size_t(out.size() + connections.size()) < size_t(megabytes * 1e6); ++m) {
    std::string t = "grid" + std::to_string(m);
    out += "createNode transform -n \"" + t + "\";\n";
    grid_mesh(out, t + "Shape", t, 100, m * 40.0);
    connections += "connectAttr \"" + t + "Shape.iog\" \":initialShadingGroup.dsm\" -na;\n";
  }
  out += "createNode script -n \"sceneConfigurationScriptNode\";\n"
         "\tsetAttr \".b\" -type \"string\" \"playbackOptions -min 1 -max 100 -ast 1 -aet 100 \";\n";
  return out + connections;
}

// The floor of loading: every byte looked at once to split the text into
// words (blanks, line ends and ';' between them, "strings" and // comments
// skipped whole), and every word that starts like a number converted with
// std::from_chars. Returns the sum of the numbers, so that nothing is
// optimised away.
double scan_floor(const std::string& text) {
  const char* p = text.data();
  const char* end = p + text.size();
  double sum = 0;
  while (p < end) {
    char c = *p;
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ';') {
      ++p;
    } else if (c == '"') {
      ++p;
      while (p < end && *p != '"')
        p += *p == '\\' ? 2 : 1;
      ++p;
    } else if (c == '/' && p + 1 < end && p[1] == '/') {
      while (p < end && *p != '\n')
        ++p;
    } else {
      const char* word = p;
      while (p < end && *p != ' ' && *p != '\t' && *p != '\n' && *p != '\r' && *p != ';' && *p != '"')
        ++p;
      if ((c >= '0' && c <= '9') || c == '-' || c == '.') {
        double v = 0;
        std::from_chars(word, p, v);
        sum += v;
      }
    }
  }
  return sum;
}

double floor_seconds(const std::string& text, int repeats) {
  double best = 1e30;
  volatile double sink = 0;
  for (int r = 0; r < repeats; ++r) {
    double start = bench::now_seconds();
    sink = sink + scan_floor(text);
    best = std::min(best, bench::now_seconds() - start);
  }
  return best;
}

long minor_faults() {
  struct rusage u;
  getrusage(RUSAGE_SELF, &u);
  return u.ru_minflt;
}

double load_seconds(const std::string& text, const char* name, int repeats, mayasim::MayaAsciiResult& result) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    double start = bench::now_seconds();
    bool ok = mayasim::load_maya_ascii_text(text.data(), text.size(), name, result);
    double t = bench::now_seconds() - start;
    if (!ok) {
      fprintf(stderr, "bench_maya_ascii: %s\n", result.error.c_str());
      exit(1);
    }
    best = std::min(best, t);
  }
  return best;
}

} // namespace

int main(int argc, char** argv) {
  bool quick = argc > 1 && strcmp(argv[1], "--quick") == 0;
  const double GOAL = 2.0; // load time over the floor's
  printf("Maya ASCII loading (best of several runs, from memory unless said); the floor is scanning the text and\n"
         "converting every number with std::from_chars, measured in the same run\n\n");

  std::string folder = std::string(TW_SHARED_TESTDATA) + "/";
  const char* largest[] = {"maya-ascii/mayausd_UsdExportSkeleton.ma", "maya-ascii/m2g_SegmentScaleCompensationTestAnim1.ma",
                           "maya-ascii/m2g_FiveJointsFourInfluencesAnim.ma",
                           "maya-artists/natelollarnloltecharttools_rig_unreal_example.ma",
                           "maya-artists/highfestivalife_level_01.ma",
                           "maya-artists/geneugenegeneugenerigs_rig_BoxMan_Buzz.ma",
                           "maya-truth/WaterBottle.ma"};
  printf("%-44s %10s %10s %10s %10s %10s\n", "shared collection file", "bytes", "ms", "MB/s", "floor ms", "x floor");
  for (const char* name : largest) {
    std::string text = read_file(folder + name);
    if (text.empty()) {
      printf("%-44s (not found)\n", name);
      continue;
    }
    mayasim::MayaAsciiResult result;
    double t = load_seconds(text, name, 50, result);
    double floor_t = floor_seconds(text, 50);
    const char* base = strrchr(name, '/') ? strrchr(name, '/') + 1 : name;
    printf("%-44.44s %10zu %10.3f %10.1f %10.3f %10.2f\n", base, text.size(), t * 1e3, text.size() / t / 1e6,
           floor_t * 1e3, t / floor_t);
  }

  printf("\nGenerated scenes: load, load from the file, and load + export to .twi\n");
  printf("%8s %8s %8s %8s %8s %8s %8s %8s %10s %9s %8s %9s %8s\n", "MB", "nodes", "load s", "MB/s", "floor s",
         "x floor", "file s", "peak MB", "ma->twi s", "export s", "s/MB", "faults/MB", "grew MB");
  mayasim::Host host;
  if (!host.load_plugin(TW_PLUGIN_MODULE)) {
    fprintf(stderr, "bench_maya_ascii: the plug-in did not load: %s\n", host.last_error().c_str());
    return 1;
  }
  char dir[] = "/tmp/bench_maya_ascii_XXXXXX";
  if (!mkdtemp(dir))
    return 1;
  std::string ma = std::string(dir) + "/generated.ma", twi = std::string(dir) + "/generated.twi";
  for (double mb : quick ? std::vector<double>{1, 5, 10} : std::vector<double>{10, 50, 100}) {
    std::string text = generated_scene(mb);
    FILE* f = fopen(ma.c_str(), "wb");
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
    mayasim::MayaAsciiResult result;
    bench::reset_peak_rss();
    double t = load_seconds(text, "generated.ma", 5, result);
    double floor_t = floor_seconds(text, 5);
    long peak = bench::proc_status_kb("VmHWM");
    double file_start = bench::now_seconds();
    mayasim::load_maya_ascii(ma, result);
    double file_t = bench::now_seconds() - file_start;
    long before_kb = bench::proc_status_kb("VmRSS");
    bench::reset_peak_rss();
    long faults_before = minor_faults();
    double whole_start = bench::now_seconds();
    mayasim::load_maya_ascii(ma, result);
    double export_start = bench::now_seconds();
    host.clear_script_editor();
    MStatus status = host.execute("twi_export -f \"" + twi + "\"");
    double whole = bench::now_seconds() - whole_start, export_t = bench::now_seconds() - export_start;
    if (!status) {
      fprintf(stderr, "bench_maya_ascii: the export failed:\n%s\n", host.script_editor_text().c_str());
      return 1;
    }
    double size_mb = text.size() / 1e6;
    long faults = minor_faults() - faults_before;
    // The memory the conversion grew by, and the page faults per megabyte.
    long grew_mb = std::max(1L, (bench::proc_status_kb("VmHWM") - before_kb) / 1024);
    printf("%8.1f %8zu %8.3f %8.1f %8.3f %8.2f %8.3f %8.0f %10.3f %9.3f %8.4f %9.0f %8ld\n", size_mb, result.nodes,
           t, size_mb / t, floor_t, t / floor_t, file_t, peak / 1024.0, whole, export_t, whole / size_mb,
           faults / size_mb, grew_mb);
    if (!result.warnings.empty())
      printf("         (%zu warnings, the first: %s)\n", result.warnings.size(), result.warnings[0].c_str());
  }
  host.unload_all();
  remove(ma.c_str());
  remove(twi.c_str());
  rmdir(dir);
  printf("\nGoals: loading at most %.1fx the floor, and s/MB flat as the scene grows (faults/MB and grew MB per MB\n"
         "show whether the work and the memory are).\n",
         GOAL);
  return 0;
}
