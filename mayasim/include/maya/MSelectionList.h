// MSelectionList: a list of selected DAG paths and dependency nodes.
#pragma once

#include <maya/MApiNamespace.h>

#include <maya/MDagPath.h>
#include <maya/MObject.h>
#include <maya/MString.h>

OPENMAYA_MAJOR_NAMESPACE_OPEN

class MPlug;

class OPENMAYA_EXPORT MSelectionList {
public:
  MSelectionList();
  MSelectionList(const MSelectionList& other);
  virtual ~MSelectionList();
  MSelectionList& operator=(const MSelectionList& other);

  MStatus clear();
  bool isEmpty(MStatus* ReturnStatus = NULL) const;
  unsigned int length(MStatus* ReturnStatus = NULL) const;
  MStatus getDependNode(unsigned int index, MObject& object) const;
  MStatus getDagPath(unsigned int index, MDagPath& path, MObject& component = MObject::kNullObj) const;
  MStatus add(const MObject& object, const bool mergeWithExisting = false);
  MStatus add(const MDagPath& path, const MObject& component = MObject::kNullObj, const bool mergeWithExisting = false);
  MStatus add(const MString& matchString, const bool searchChildNamespacesToo = false);
  bool hasItem(const MObject& item, MStatus* ReturnStatus = NULL) const;
  bool hasItem(const MDagPath& item, const MObject& component = MObject::kNullObj, MStatus* ReturnStatus = NULL) const;
  MStatus remove(unsigned int index);

private:
  void* _items;
};

OPENMAYA_NAMESPACE_CLOSE
