#include "refhost/module_state.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "host/DllCommon.h"
#include "host/Results.h"
#include "posix/last_error.h"
#include "posix/regular_file.h"
#include "posix/replace_file.h"

namespace refhost {

namespace {

using nlohmann::json;

constexpr int kSchema = 1;
constexpr mode_t kFileMode = 0644;
constexpr std::size_t kLongestFile = 1024UL * 1024UL;

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
          {"status_before", state.statusBefore},
          {"update_progress", state.updateProgress},
          {"update_priority", state.updatePriority},
          {"latest_update_date", state.latestUpdateDate},
          {"previous_version", state.previousVersion}};
}

int WholeNumber(const json& value, const char* name, int least, int most) {
  const json& member = value.at(name);
  const std::int64_t number = member.is_number_integer() ? member.get<std::int64_t>() : INT64_MIN;
  if (number < least || number > most) {
    throw std::runtime_error("its \"" + std::string(name) + "\" is not one");
  }
  return static_cast<int>(number);
}

ModuleState StateFrom(const json& value) {
  if (value.at("schema") != kSchema) {
    throw std::runtime_error("its \"schema\" is not 1");
  }
  ModuleState state;
  state.operating = RecordFrom(value.at("operating"));
  state.update = RecordFrom(value.at("update"));
  state.previous = RecordFrom(value.at("previous"));
  state.updateStatus = WholeNumber(value, "update_status", kNoUpdate, kUpdateVerified);
  if (value.contains("status_before")) {  // records of an earlier version lack it
    state.statusBefore = WholeNumber(value, "status_before", kNoUpdate, kUpdateVerified);
  }
  state.updateProgress = WholeNumber(value, "update_progress", INT_MIN, INT_MAX);
  state.updatePriority = WholeNumber(value, "update_priority", INT_MIN, INT_MAX);
  value.at("latest_update_date").get_to(state.latestUpdateDate);
  value.at("previous_version").get_to(state.previousVersion);
  return state;
}

enum class FileState { kUsable, kUnreadable, kDamaged };

FileState Read(const std::string& path, ModuleState* state, std::string* error) {
  *state = {};
  const auto text = posix::ReadRegularFile(path, kLongestFile);
  if (!text && (errno == ENOENT || errno == ENOTDIR)) {
    return FileState::kUsable;
  }
  if (!text) {
    *error = "The state file " + path + " cannot be read: " +
             (errno == EINVAL  ? "it is no regular file"
              : errno == EFBIG ? "it is too large"
                               : posix::LastError());
    return FileState::kUnreadable;
  }
  try {
    *state = StateFrom(json::parse(*text));
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
