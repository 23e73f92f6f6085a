// The built-in scenes of twi-export, made with mayasim's builder.
#pragma once

namespace tools {

struct DemoScene {
  const char* name;        // as in demo:NAME
  const char* description; // one paragraph for --list-demos
  void (*build)();         // replaces mayasim's scene with this one
};

// The scenes, ending with an entry whose name is null.
extern const DemoScene DEMO_SCENES[];

// The scene called `name` (without "demo:"), or null.
const DemoScene* find_demo_scene(const char* name);

} // namespace tools
