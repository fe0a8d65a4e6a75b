// COrvXmlNode and COrvXmlWrite.
#include <algorithm>
#include <pugixml.hpp>
#include <utility>
#include <vector>

#include "posix/replace_file.h"
#include "refhost/common/trace.h"
#include "refhost/common/utf8.h"
#include "refhost/contract.h"

struct COrvXmlNode::Content {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::list<COrvXmlNode> children;

  // Adds this element to `parent`; false when a name or a value cannot stand in a document.
  bool AppendTo(pugi::xml_node parent) const;
};

bool COrvXmlNode::Content::AppendTo(pugi::xml_node parent) const {
  if (!refhost::IsXmlName(name)) {
    return false;
  }
  pugi::xml_node element = parent.append_child(name.c_str());
  for (const auto& [attribute, value] : attributes) {
    if (!refhost::IsXmlName(attribute) || !refhost::IsXmlText(value)) {
      return false;
    }
    if (element.attribute(attribute.c_str())) {
      return false;
    }
    element.append_attribute(attribute.c_str()).set_value(value.c_str());
  }
  return std::ranges::all_of(children,
                             [element](const COrvXmlNode& child) { return child.content_->AppendTo(element); });
}

COrvXmlNode::COrvXmlNode(std::string name) : content_(std::make_unique<Content>()) {
  content_->name = std::move(name);
}

COrvXmlNode::COrvXmlNode(const COrvXmlNode& other) : content_(std::make_unique<Content>(*other.content_)) {}

COrvXmlNode::~COrvXmlNode() = default;

void COrvXmlNode::addAttribute(std::string name, std::string value) {
  content_->attributes.emplace_back(std::move(name), std::move(value));
}

void COrvXmlNode::addChildNode(const COrvXmlNode& child) {
  content_->children.push_back(child);
}

namespace {

constexpr mode_t kFileMode = 0644;

class TextWriter : public pugi::xml_writer {
 public:
  void write(const void* data, std::size_t size) override { text_.append(static_cast<const char*>(data), size); }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace

COrvXmlWrite::COrvXmlWrite() = default;

COrvXmlWrite::~COrvXmlWrite() = default;

bool COrvXmlWrite::writeXML(std::string path, COrvXmlNode root) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version").set_value("1.0");
  declaration.append_attribute("encoding").set_value("UTF-8");
  if (!root.content_->AppendTo(document)) {
    refhost::TraceError("host", "Not written, a name or a value cannot stand in XML: [" + path + "]");
    return false;
  }
  TextWriter writer;
  document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
  std::string error;
  const bool written = posix::ReplaceFile(path, writer.Text(), kFileMode, &error);
  if (!written) {
    refhost::TraceError("host", error);
  }
  return written;
}
