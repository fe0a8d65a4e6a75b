// The host's XML services as the scripted host plays them: the tree is kept in memory, and writing it gives its lines
// to the host.
#include <utility>
#include <vector>

#include "host/DllCommon.h"
#include "tests/support/scripted_host.h"

struct COrvXmlNode::Content {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<Content> children;

  void AppendLines(const std::string& indent, std::vector<std::string>* lines) const {
    std::string line = indent + name;
    for (const auto& [attribute, value] : attributes) {
      line.append(" ").append(attribute).append("=[").append(value).append("]");
    }
    lines->push_back(line);
    for (const Content& child : children) {
      child.AppendLines(indent + "  ", lines);
    }
  }
};

COrvXmlNode::COrvXmlNode(std::string name) : content_(std::make_unique<Content>()) {
  content_->name = std::move(name);
}
COrvXmlNode::COrvXmlNode(const COrvXmlNode& other) : content_(std::make_unique<Content>(*other.content_)) {}
COrvXmlNode::~COrvXmlNode() = default;

void COrvXmlNode::addAttribute(std::string name, std::string value) {
  content_->attributes.emplace_back(std::move(name), std::move(value));
}

void COrvXmlNode::addChildNode(const COrvXmlNode& child) {
  content_->children.push_back(*child.content_);
}

COrvXmlWrite::COrvXmlWrite() = default;
COrvXmlWrite::~COrvXmlWrite() {}

bool COrvXmlWrite::writeXML(std::string path, COrvXmlNode root) {
  ScriptedHost& host = *ScriptedHost::Current();
  host.Note("write " + std::move(path));
  if (!host.documentsCanBeWritten) {
    return false;
  }
  std::vector<std::string> lines;
  root.content_->AppendLines("", &lines);
  host.writtenDocuments.push_back(lines);
  return true;
}
