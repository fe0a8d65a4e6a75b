#include "report/report_item.h"

namespace kestrel {

void AddItem(const std::string& name, const std::string& value, COrvXmlNode* section) {
  COrvXmlNode item("attr");
  item.addAttribute("name", name);
  item.addAttribute("value", value);
  section->addChildNode(item);
}

}  // namespace kestrel
