// MFnBase: the base of every function set.
//
// Function sets can't be copied, assigned or have their address taken (as
// in Maya): pass them by reference and retarget them with setObject().
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MFn.h>
#include <maya/MObject.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class OPENMAYA_EXPORT MFnBase {
public:
  virtual ~MFnBase();
  virtual MFn::Type type() const;
  bool hasObj(MFn::Type type) const;
  bool hasObj(const MObject& object) const;
  MObject object(MStatus* ReturnStatus = NULL) const;
  virtual MStatus setObject(MObject& object);
  virtual MStatus setObject(const MObject& object);

protected:
  MFnBase();
  // The node (or data) the set works on and, when attached through one, the path.
  MObject _object;
  void* _path;

private:
  MFnBase(const MFnBase&);
  MFnBase& operator=(const MFnBase&);
  MFnBase* operator&() const;
  MFnBase* operator&();
};

// What every function set re-declares: no copies, assignments or addresses.
#define MAYASIM_MINIMAL_MFN(CLASS)                                                                          \
private:                                                                                                   \
  CLASS(const CLASS&);                                                                                     \
  CLASS& operator=(const CLASS&);                                                                          \
  CLASS* operator&() const;                                                                                \
  CLASS* operator&();                                                                                      \
                                                                                                           \
public:

OPENMAYA_NAMESPACE_CLOSE
