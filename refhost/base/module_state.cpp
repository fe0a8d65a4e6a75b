#include "refhost/module_state.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "host/DllCommon.h"
#include "host/Results.h"
#include "posix/replace_file.h"

namespace refhost {

namespace {

using nlohmann::json;

constexpr int kSchema = 1;
constexpr mode_t kFileMode = 0644;

std::string FileIn(const std::string& folder) {
  return folder + "/state.json";
}

json ToJson(const ModuleRecord& record) {
  return {{"module_id", record.info.moduleId},    {"name", record.info.moduleName},
          {"kind", record.info.moduleKind},       {"device", record.info.deviceName},
          {"version", record.info.moduleVersion}, {"model", record.info.model},
          {"package", record.packagePath},        {"package_sha256", record.packageSha256}};
}

ModuleRecord RecordFrom(const json& value) {
  ModuleRecord record;
  value.at("module_id").get_to(record.info.moduleId);
  value.at("name").get_to(record.info.moduleName);
  value.at("kind").get_to(record.info.moduleKind);
  value.at("device").get_to(record.info.deviceName);
  value.at("version").get_to(record.info.moduleVersion);
  value.at("model").get_to(record.info.model);
  value.at("package").get_to(record.packagePath);
  record.packageSha256 = value.value("package_sha256", "");  // records of an earlier version lack it
  return record;
}

json ToJson(const ModuleState& state) {
  return {{"schema", kSchema},
          {"operating", ToJson(state.operating)},
          {"update", ToJson(state.update)},
          {"previous", ToJson(state.previous)},
          {"update_status", state.updateStatus},
          {"update_progress", state.updateProgress},
          {"update_priority", state.updatePriority},
          {"latest_update_date", state.latestUpdateDate},
          {"previous_version", state.previousVersion}};
}

ModuleState StateFrom(const json& value) {
  if (value.at("schema") != kSchema) {
    throw std::runtime_error("its \"schema\" is not 1");
  }
  ModuleState state;
  state.operating = RecordFrom(value.at("operating"));
  state.update = RecordFrom(value.at("update"));
  state.previous = RecordFrom(value.at("previous"));
  value.at("update_status").get_to(state.updateStatus);
  value.at("update_progress").get_to(state.updateProgress);
  value.at("update_priority").get_to(state.updatePriority);
  value.at("latest_update_date").get_to(state.latestUpdateDate);
  value.at("previous_version").get_to(state.previousVersion);
  return state;
}

enum class FileState { kUsable, kUnreadable, kDamaged };

FileState Read(const std::string& path, ModuleState* state, std::string* error) {
  *state = {};
  if (!CCommon_Information::MyPathFileExists(path)) {
    return FileState::kUsable;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open() || !CFileUtility::IsFileExist(path)) {
    *error = "The state file " + path + " cannot be read";
    return FileState::kUnreadable;
  }
  std::stringstream text;
  text << file.rdbuf();
  try {
    *state = StateFrom(json::parse(text.str()));
    return FileState::kUsable;
  } catch (const std::exception& failure) {
    *error = "The state file " + path + " is damaged (" + failure.what() + ")";
    return FileState::kDamaged;
  }
}

// Renames the file to a name that is not taken and tells it; "" when that fails.
std::string KeepAside(const std::string& path) {
  for (int number = 1;; ++number) {
    const std::string aside = path + ".damaged-" + std::to_string(number);
    if (CCommon_Information::MyPathFileExists(aside)) {
      continue;
    }
    return rename(path.c_str(), aside.c_str()) == 0 ? aside : "";
  }
}

}  // namespace

std::string ModuleStateFolder() {
  return CFileUtility::GetInstallPath(host::kInstallation) + "/repository";
}

bool ReadModuleState(const std::string& folder, ModuleState* state, std::string* error) {
  return Read(FileIn(folder), state, error) == FileState::kUsable;
}

bool LoadModuleState(const std::string& folder, ModuleState* state, std::string* error) {
  const std::string path = FileIn(folder);
  const FileState found = Read(path, state, error);
  if (found == FileState::kDamaged) {
    const std::string aside = KeepAside(path);
    *error += aside.empty() ? "; it could not be renamed" : "; it is kept as " + aside;
  }
  return found == FileState::kUsable;
}

bool SaveModuleState(const std::string& folder, const ModuleState& state, std::string* error) {
  std::error_code failure;
  std::filesystem::create_directories(folder, failure);
  if (failure) {
    *error = "cannot make the folder " + folder + ": " + failure.message();
    return false;
  }
  const std::string text = ToJson(state).dump(2, ' ', false, json::error_handler_t::replace) + "\n";
  return posix::ReplaceFile(FileIn(folder), text, kFileMode, error);
}

void TidyModuleState(const std::string& folder) {
  posix::RemoveUnfinished(FileIn(folder));
}

}  // namespace refhost
