#include "orvhost/commands/report_file.h"

#include <pugixml.hpp>

namespace orvhost {

bool ReadReportFile(const std::string& path, std::vector<std::pair<std::string, std::string>>* items,
                    std::string* error) {
  items->clear();
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_file(path.c_str());
  if (!result) {
    *error = result.description();
    return false;
  }
  const pugi::xml_node root = document.child("data");
  if (!root) {
    *error = "it has no element \"data\"";
    return false;
  }
  for (const pugi::xml_node section : root.children()) {
    for (const pugi::xml_node item : section.children("attr")) {
      items->emplace_back(item.attribute("name").value(), item.attribute("value").value());
    }
  }
  return true;
}

}  // namespace orvhost
