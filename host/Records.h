// The records that the host framework and a plug-in hand to each other. They are plain values: whoever holds one owns
// it, copying one copies all its texts, and no record refers to another.
#ifndef HOST_RECORDS_H
#define HOST_RECORDS_H

#include <string>

// An update package as the repository knows it. All texts are "" when unknown.
struct CManageRepositoryInfo {
  std::string moduleId;       // unique key of the module within the repository
  std::string moduleName;     // name shown to operators
  std::string moduleKind;     // kind of module, e.g. "firmware"
  std::string deviceName;     // device that the module belongs to
  std::string moduleVersion;  // version of the package in the grammar of the device; also the update version that
                              // the precondition check compares
  std::string model;          // hardware variant that the package is meant for; "" for the ordinary one
};

// What the host manages for one module of one device.
struct CManageModuleInfo {
  std::string vendorClassName;      // class name of the vendor object that answers for the device
  std::string moduleKind;           // kind of module, e.g. "firmware"
  CManageRepositoryInfo operating;  // the installed module
  CManageRepositoryInfo update;     // the module offered for update
};

// One prerequisite application that is missing on this machine.
struct CNecessaryComponentInfo {
  std::string name;     // name shown to operators
  std::string version;  // lowest version that would do; "" for any
};

// A module that another one depends on.
struct CDependencyInfo {
  std::string moduleId;  // key of the module depended on
  std::string version;   // lowest version that satisfies the dependency; "" for any
};

// An application that is linked to a device.
struct CLinkApplicationInfo {
  std::string name;     // name shown to operators
  std::string version;  // installed version
};

#endif  // HOST_RECORDS_H
