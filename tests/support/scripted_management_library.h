// What a test tells the management library that it loads, and how that library talks back. Handed over by the scripted
// host when the plug-in opens the library.
#ifndef TESTS_SUPPORT_SCRIPTED_MANAGEMENT_LIBRARY_H
#define TESTS_SUPPORT_SCRIPTED_MANAGEMENT_LIBRARY_H

#include <functional>
#include <string>

struct ScriptedManagementLibrary {
  bool hasInterface = true;  // whether CreateLibIF gives an object

  // What the queries answer.
  bool succeeds = true;
  std::string info;
  std::string errorCode;
  std::string warningCode;

  // The operation that throws, after it has filled in its answer: an exception of the standard library, or one of a
  // class that only the library has the code of.
  std::string throwsFrom;
  bool throwsOwnClass = false;

  // Set by the scripted host: one more line for the journal.
  std::function<void(const std::string& operation)> note;
};

#endif  // TESTS_SUPPORT_SCRIPTED_MANAGEMENT_LIBRARY_H
