// Where the API's classes live.
//
// Maya 2013 declares its classes in the global namespace. Maya 2018 and
// later declare them in a versioned namespace (for 2022,
// Autodesk::Maya::OpenMaya20220000), made usable unqualified by a
// using-directive, so that a plug-in's entry points are mangled with that
// namespace (initializePlugin(Autodesk::Maya::OpenMaya20220000::MObject));
// they also mark the overloads they call obsolete as deprecated.
//
// mayasim builds either way: by default as Maya 2013, and with
// MAYASIM_MODERN_API defined to 1 (the CMake option TW_MAYASIM_MODERN_API)
// as the modern headers do, so that code which compiles here compiles and
// links against both, warnings included.
//
//   OPENMAYA_MAJOR_NAMESPACE_OPEN / OPENMAYA_NAMESPACE_CLOSE
//                        wrap every declaration of the API
//   MAYASIM_OBSOLETE(use) marks an obsolete overload (deprecated in the
//                        modern mode, naming what to call instead)
//   MAYASIM_MANGLED_MOBJECT
//                        how MObject appears in a mangled entry point name
#pragma once

#ifndef MAYASIM_MODERN_API
  #define MAYASIM_MODERN_API 0
#endif

#if MAYASIM_MODERN_API
  #define OPENMAYA_MAJOR_NAMESPACE_OPEN                                                                     \
    namespace Autodesk {                                                                                    \
    namespace Maya {                                                                                        \
    inline namespace OpenMaya20220000 {
  #define OPENMAYA_NAMESPACE_CLOSE                                                                          \
    }                                                                                                       \
    }                                                                                                       \
    }
  #define MAYASIM_OBSOLETE(use) [[deprecated("obsolete in the Maya API: use " use)]]
  #define MAYASIM_MANGLED_MOBJECT "N8Autodesk4Maya16OpenMaya202200007MObjectE"
namespace Autodesk {
namespace Maya {
inline namespace OpenMaya20220000 {}
} // namespace Maya
} // namespace Autodesk
using namespace Autodesk::Maya;
#else
  #define OPENMAYA_MAJOR_NAMESPACE_OPEN
  #define OPENMAYA_NAMESPACE_CLOSE
  #define MAYASIM_OBSOLETE(use)
  #define MAYASIM_MANGLED_MOBJECT "7MObject"
#endif
