// One line of the report: what all its sections are made of.
#ifndef REPORT_REPORT_ITEM_H
#define REPORT_REPORT_ITEM_H

#include <string>

#include "host/DllCommon.h"

namespace kestrel {

// Appends the item `name` with its `value` to `section`.
void AddItem(const std::string& name, const std::string& value, COrvXmlNode* section);

}  // namespace kestrel

#endif  // REPORT_REPORT_ITEM_H
