#include "orvhost/commands/validation_page.h"

#include <map>

#include "orvhost/journal/page_frame.h"

namespace orvhost {

namespace {

using Members = std::map<std::string, std::string>;

// A sign as well as a colour and a word: not everybody sees colours, and not every printer prints them.
std::string ResultCell(const std::string& result) {
  const bool failed = result == "fail";
  const std::string kind = result == "pass" ? "good" : failed ? "bad" : "soft";
  const std::string sign = result == "pass" ? "&#10003;" : failed ? "&#10007;" : "&ndash;";
  return "<td class=\"result " + kind + "\">" + sign + " " + Html(result) + "</td>";
}

std::string Row(Members check) {
  std::string html = check["result"] == "fail" ? "<tr class=\"failure\">" : "<tr>";
  html += ResultCell(check["result"]) + "<td><b>" + Html(check["name"]) + "</b><br>" + Html(check["description"]) +
          "</td><td class=\"text\">" + Html(check["reason"]);
  if (!check["evidence"].empty()) {
    html += "<span class=\"answer\">" + Html(check["evidence"]) + "</span>";
  }
  return html + "</td><td class=\"at\">" + Html(check["seconds"]) + "</td></tr>\n";
}

}  // namespace

std::string ToValidationPage(const Outcome& outcome) {
  std::string html = PageHead("Validation of a plug-in");
  html += PageVerdict(!outcome.failure,
                      outcome.verdict + ", exit code " + std::to_string(static_cast<int>(outcome.exitCode)));
  if (outcome.failure) {
    html += "<div class=\"todo\"><p>" + Html(outcome.failure->cause) + "</p>\n<p><b>What to do:</b> " +
            Html(outcome.failure->nextStep) + "</p></div>\n";
  } else {
    html += "<p>" + Html(outcome.summary) + "</p>\n";
  }
  html += "<dl>\n";
  for (const Fact& fact : outcome.facts) {
    html += PageItem(fact.name, fact.value);
  }
  html +=
      "</dl>\n<h2>Checks</h2>\n<table class=\"checks\"><thead><tr><th>Result</th><th>What is true of a good "
      "plug-in</th>"
      "<th>What was seen of this one</th><th>Seconds</th></tr></thead><tbody>\n";
  for (const auto& check : outcome.listing.entries) {
    html += Row(Members(check.begin(), check.end()));
  }
  return html + "</tbody></table>\n" +
         PageFoot(
             "with \"orvhost validate\", which touches no device: commands of the plug-in were refused, and pauses "
             "that it asked for were counted and not made.");
}

}  // namespace orvhost
