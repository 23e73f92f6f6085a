// File references in Maya ASCII scenes: what a `file` statement declares,
// the edits a reference node keeps ("dataReferenceEdits"), and where a
// referenced file is found when the path its scene recorded (usually an
// absolute path on another machine) does not lead to it.
//
// A scene declares each reference twice in its header: `file -rdi DEPTH`
// records every reference of the whole tree with its load state (`-dr 1`:
// unloaded when the scene was saved), and `file -r` loads the scene's own
// references. The edits are grouped by the reference node they belong to;
// each is a kind number and its strings:
//   0 parent:          child, new parent, the parent command's flags
//   1 addAttr:         node, long name, short name, flags
//   2 setAttr:         node, attribute, the values as setAttr takes them
//   3 connectAttr:     source, destination, flags
//   4 disconnectAttr:  source, destination, flags
//   5 through a placeholder: a second number (3: the referenced plug is the
//                      connection's source, 4: its destination), the reference
//                      node, the referenced plug, the placeholder
//                      ("RN.placeHolderList[n]") and the other plug
// (established from the scenes Maya saved in the test collections).
#pragma once

#include "mayasim/maya_ascii.h"

#include <string>
#include <vector>

namespace mayasim {
namespace maya_ascii {

struct ReferenceStatement {
  bool load = false;          // file -r (otherwise -rdi: a record of a reference's state)
  int depth_info = 0;         // -rdi N: 1 for the file's own references, 2 for theirs, ...
  bool deferred = false;      // -dr 1
  bool has_namespace = false; // -ns given
  std::string ns;             // ":" puts the nodes in the referencing file's namespace
  std::string rename_prefix;  // -rpr (scenes from before namespaces: "prefix_name")
  std::string node;           // -rfn
  std::string type;           // -typ ("mayaAscii", "mayaBinary", "Alembic", ...)
  std::vector<std::string> shared; // -shd
  std::string path;
  unsigned line = 0;
};

struct ReferenceEdit {
  int kind = 0;
  int sub = 0; // kind 5: 3 or 4
  std::vector<std::string> args;
  std::string owner; // the reference node whose group listed it
  unsigned line = 0;
};

// The edits of a reference node's ".ed" value, as words (strings and
// numbers) in the order the file gives them. False (and why) when the
// words do not have the value's layout.
struct EditWord {
  std::string text;
  bool quoted = false;
};
bool parse_reference_edits(const std::vector<EditWord>& words, std::vector<ReferenceEdit>& edits, std::string& why);

// The MEL statement doing what a parent, setAttr, connectAttr or
// disconnectAttr edit records; empty for the other kinds.
std::string edit_statement(const ReferenceEdit& edit);

// The index n of "RN.placeHolderList[n]" or "RN.phl[n]"; -1 for another plug.
int placeholder_index(const std::string& plug);

// A path with $VAR, ${VAR} and a leading ~ replaced from the environment
// (a variable that is not set is left as written).
std::string expand_path_variables(const std::string& path);

struct FoundFile {
  std::string path;               // the file found; empty when none was
  std::string rule;               // how it was found
  std::vector<std::string> tried; // every place looked at, in order
};

// Looks for the file a reference recorded as `written`, in this order:
// each --map-path whose FROM begins it; the path as written (variables
// expanded) when it is absolute; by its trailing components ("scenes/a.ma",
// then "a.ma") next to the referencing file, then in the Maya project of the
// referencing file and of the scene (the nearest folder above holding
// workspace.mel); under each root by trailing components, then by file name
// anywhere below it.
bool find_reference_file(const std::string& written, const std::string& referencing_file,
                         const std::string& scene_file, const ReferenceOptions& options, FoundFile& found);

// A file's bytes, from options.files when set, else from the disk.
bool read_reference_file(const std::string& path, const ReferenceOptions& options, std::string& text,
                         std::string& error);

// The path that identifies a file, for telling whether a reference leads
// back to a file being loaded.
std::string file_identity(const std::string& path, const ReferenceOptions& options);

} // namespace maya_ascii
} // namespace mayasim
