// Descriptions (module.json) of wrong types, of unreasonable size, and such that two readers would take differently.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kNotValid = "module.json is not valid: ";

// A good description in which `member` stands in the place of the one of that name, or beside the others.
std::string With(const std::string& name, const std::string& value) {
  std::string text = "{";
  const std::pair<const char*, const char*> members[] = {
      {"name", "\"n\""}, {"version", "\"01-24\""}, {"model", "\"\""}, {"server_types", R"(["kv6000"])"}};
  bool stands = false;
  for (const auto& [member, good] : members) {
    stands = stands || name == member;
    text += (text.size() > 1 ? ", \"" : "\"") + std::string(member) + "\": " + (name == member ? value : good);
  }
  return text + (stands ? "" : ", \"" + name + "\": " + value) + "}";
}

struct DescriptionCase {
  const char* name;
  std::string text;
  std::string sentence;  // "" when it is taken
};

std::vector<DescriptionCase> TypeCases() {
  std::vector<DescriptionCase> cases;
  for (const char* name : {"name", "version", "model"}) {
    for (const char* value : {"1", "1.5", "null", "true", "[]", "{}", R"(["01-24"])"}) {
      cases.push_back({name, With(name, value), std::string("\"") + name + "\" is no text"});
    }
  }
  for (const char* value : {"1", "null", "true", "\"kv6000\"", "{}", R"({"kv6000": 1})"}) {
    cases.push_back({"server_types", With("server_types", value), "\"server_types\" is no list"});
  }
  for (const char* value : {"[1]", "[null]", "[[]]", R"(["kv6000", {}])"}) {
    cases.push_back({"a server type", With("server_types", value), "\"server_types\" holds what is no text"});
  }
  for (const char* value : {"[]", "null", "1", "\"text\"", "true"}) {
    cases.push_back({"not an object", value, kNotValid});
  }
  return cases;
}

std::vector<DescriptionCase> TextCases() {
  const std::string good = kGoodDescription;
  return {
      {"no text", "", kNotValid},
      {"blanks", "   \n", kNotValid},
      {"a half of it", good.substr(0, good.size() / 2), kNotValid},
      {"two of them", good + good, kNotValid},
      {"text behind it", good + "x", kNotValid},
      {"a NUL behind it", good + std::string(1, '\0'), "it holds a NUL character"},
      {"another one behind a NUL", good + std::string(1, '\0') + good, "it holds a NUL character"},
      {"a NUL in front", std::string(1, '\0') + good, "it holds a NUL character"},
      {"a byte order mark", "\xef\xbb\xbf" + good, ""},
      {"a byte order mark of UTF-16", "\xff\xfe" + good, kNotValid},
      {"half a byte order mark", "\xef\xbb" + good, kNotValid},
      {"bytes that are not UTF-8", With("name", "\"\xff\xfe\""), kNotValid},
      {"half a character", With("name", "\"\xc3\""), kNotValid},
      {"half a surrogate", With("name", R"("\ud800")"), kNotValid},
      {"a line end in a text", With("name", "\"a\nb\""), kNotValid},
      {"a comment", "// x\n" + good, kNotValid},
      {"a comma too many", With("name", "\"n\",").replace(0, 1, "{"), kNotValid},
      {"single quotes", "{'name': 'n'}", kNotValid},
      {"an infinite number", With("more", "1e999"), kNotValid},
      {"a number of a thousand digits", With("more", std::string(1000, '9')), kNotValid},
      {"a member that nobody knows", With("more", "[1, 2]"), ""},
      {"nested nine levels", With("more", Repeated("[", 9) + Repeated("]", 9)), "nested more than 8 levels deep"},
      {"nested 30000 levels", Repeated("[", 30000), "nested more than 8 levels deep"},
      {"objects nested 5000 levels", Repeated(R"({"a":)", 5000), "nested more than 8 levels deep"},
      {"the version twice", good.substr(0, good.size() - 1) + R"(, "version": "01-25"})", "stands twice"},
      {"the server types twice", good.substr(0, good.size() - 1) + R"(, "server_types": ["mx4000"]})", "stands twice"},
      {"the name twice, once escaped", good.substr(0, good.size() - 1) + R"(, "n\u0061me": "x"})", "stands twice"},
      {"a member that nobody knows twice", With("more", R"({"a": 1, "a": 1})"), "stands twice"},
      {"no name", R"({"version": "01-24", "server_types": ["kv6000"]})", "\"name\" is missing"},
      {"no version", R"({"name": "n", "server_types": ["kv6000"]})", "\"version\" is missing"},
      {"no server types", R"({"name": "n", "version": "01-24"})", "\"server_types\" is missing"},
      {"an empty name", With("name", "\"\""), "\"name\" is empty"},
      {"an empty version", With("version", "\"\""), "\"version\" is empty"},
      {"an empty server type", With("server_types", R"(["kv6000", ""])"), "an empty server type"},
      {"names in capitals", R"({"NAME": "n", "VERSION": "01-24", "SERVER_TYPES": ["kv6000"]})", "\"name\" is missing"},
      {"a long name", With("name", "\"" + std::string(256, 'n') + "\""), "longer than 255 bytes"},
      {"a long version", With("version", "\"" + std::string(256, '1') + "\""), "longer than 255 bytes"},
      {"a long model", With("model", "\"" + std::string(30000, 'm') + "\""), "longer than 255 bytes"},
      {"a long server type", With("server_types", "[\"" + std::string(256, 'k') + "\"]"), "longer than 255 bytes"},
      {"65 server types", With("server_types", "[" + Repeated("\"kv6000\", ", 64) + "\"kv6000\"]"),
       "more than 64 server types"},
      {"more than 1 MiB", good + std::string(1U << 20U, ' '), "module.json is larger than 1 MiB"},
      {"2 MiB", good + std::string(2U << 20U, ' '), "module.json is larger than 1 MiB"}};
}

}  // namespace

HostileRows DescriptionRows() {
  HostileRows rows;
  auto cases = TypeCases();
  std::ranges::move(TextCases(), std::back_inserter(cases));
  for (const auto& [name, text, sentence] : cases) {
    rows.push_back({std::string("a description with ") + name + ": " + text.substr(0, 80),
                    ArchiveBuilder().File("module.json", text).File("fw.ima", "image").Build(Format::kZip),
                    sentence.empty() ? 0 : 5, sentence.empty() ? "The package is newer" : sentence});
  }
  return rows;
}

namespace {

TEST_F(HostilePackages, WithDescriptions) {
  Judge(DescriptionRows());
}

}  // namespace
}  // namespace orvhost
