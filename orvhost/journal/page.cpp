#include "orvhost/journal/page.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include "orvhost/journal/journal_line.h"
#include "orvhost/journal/page_frame.h"
#include "orvhost/journal/story.h"
#include "orvhost/journal/time_line.h"
#include "orvhost/trace/error_text.h"

namespace orvhost {

namespace {

constexpr std::size_t kMostLines = 3000;  // beyond them no browser is pleasant

std::string Percent(double part, double whole) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.3f%%", whole > 0 ? 100 * part / whole : 0);
  return text.data();
}

std::string Seconds(double seconds) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.3f", seconds);
  return text.data();
}

class Page {
 public:
  Page(const RecordedRun& run, const std::string& journal)
      : run_(run), journal_(journal), line_(TimeLineOf(run)), story_(TellStory(run)) {
    for (const JournalEntry& entry : run.entries) {
      if (entry.kind == "response") {
        answers_[entry.CommandKey()] = &entry;
      }
    }
  }

  std::string Whole();

 private:
  void Result();
  void Evidence(const nlohmann::json& error);
  void Facts();
  void Drawing();
  void Step(const TimedStep& step);
  void Events();
  void Event(const StoryLine& line);
  void Item(const std::string& name, const std::string& value);
  void Bar(const char* kind, const Span& span, const std::string& title);
  [[nodiscard]] std::string AboutStep(const TimedStep& step) const;
  [[nodiscard]] std::string Title() const { return "orvhost " + run_.Begin("command") + ", run " + run_.id; }

  const RecordedRun& run_;
  const std::string& journal_;
  const TimeLine line_;
  const std::vector<StoryLine> story_;
  std::map<std::string, const JournalEntry*> answers_;
  std::string html_;
};

std::string Page::Whole() {
  html_ = PageHead(Title());
  Result();
  Facts();
  Drawing();
  Events();
  html_ += PageFoot("from " + journal_ + ", which has more: every line of the trace.");
  return std::move(html_);
}

void Page::Result() {
  const std::string before = run_.OutcomeText("before");
  const std::string after = run_.OutcomeText("after");
  if (!before.empty() || !after.empty()) {
    html_ += "<p class=\"versions\">Firmware <b>" + Html(before.empty() ? "unknown" : before) + "</b>" +
             (after.empty() || after == before ? "" : " &rarr; <b>" + Html(after) + "</b>") + "</p>\n";
  }
  const nlohmann::json* outcome = run_.Outcome();
  if (outcome == nullptr) {
    html_ += "<p class=\"verdict warn\">? no end</p>\n<div class=\"todo warn-box\"><p>The journal stops in step \"" +
             Html(run_.LastPhase()) +
             "\": the run was cut off, or is at work.</p>\n<p><b>What to do:</b> keep the machine powered and run "
             "<code>orvhost diagnose " +
             Html(run_.id) + "</code>.</p></div>\n";
    return;
  }
  const bool failed = outcome->value("exit_code", nlohmann::json()) != 0;
  html_ += PageVerdict(
      !failed, run_.OutcomeText("verdict") + ", exit code " + outcome->value("exit_code", nlohmann::json()).dump());
  const nlohmann::json error = outcome->value("error", nlohmann::json());
  if (error.is_object()) {
    html_ += "<div class=\"todo\"><p>" + Html(TextIn(error, "cause")) + "</p>\n";
    Evidence(error.value("evidence", nlohmann::json()));
    html_ += "<p><b>What to do:</b> " + Html(TextIn(error, "next_step")) + "</p></div>\n";
  } else {
    html_ += "<p>" + Html(run_.OutcomeText("summary")) + "</p>\n";
  }
}

void Page::Evidence(const nlohmann::json& evidence) {
  html_ += "<dl>\n";
  for (const auto& [name, title] :
       {std::pair{"records", "Record"}, {"trace", "Trace"}, {"error_output", "Error output"}}) {
    const nlohmann::json list = evidence.is_object() ? evidence.value(name, nlohmann::json()) : nlohmann::json();
    for (const nlohmann::json& text : list.is_array() ? list : nlohmann::json::array()) {
      Item(title, text.is_string() ? text.get<std::string>() : "");
    }
  }
  Item("Shell command", TextIn(evidence, "command"));
  Item("Completion code", TextIn(evidence, "completion_code"));
  html_ += "</dl>\n";
}

void Page::Facts() {
  html_ += "<dl>\n";
  Item("Started", run_.Begin("t"));
  Item("Took", DurationInWords(line_.seconds));
  Item("Server type", run_.Begin("server_type"));
  Item("Install path", run_.Begin("install_path"));
  for (const JournalEntry& entry : run_.entries) {
    if (entry.kind == "package") {
      Item("Package", entry.Text("path"));
      Item("SHA-256", entry.Text("sha256"));
      if (const std::string signature = SignatureInWords(entry); !signature.empty()) {
        Item("Signature", signature);
      }
    }
  }
  for (const std::string& sentence : Damage(run_)) {
    Item("Journal", sentence);
  }
  html_ += "</dl>\n";
}

void Page::Item(const std::string& name, const std::string& value) {
  html_ += PageItem(name, value);
}

void Page::Drawing() {
  html_ +=
      "<h2>Time line</h2>\n<ul class=\"legend\"><li><i class=\"step\"></i>step</li>"
      "<li><i class=\"command\"></i>shell command</li><li><i class=\"command failed\"></i>&#10007; one that failed</li>"
      "<li><i class=\"pause\"></i>pause: nothing ran through the host</li>"
      "<li><i class=\"flash\"></i>the flash or the shutdown begins</li></ul>\n"
      "<div class=\"row axis\"><div class=\"name soft\">seconds since the start</div><div class=\"track\">";
  for (const double tick : TicksFor(line_.seconds)) {
    std::array<char, 32> text{};
    snprintf(text.data(), text.size(), "%g", tick);
    html_ += "<span style=\"left:" + Percent(tick, line_.seconds) + "\">" + text.data() + "</span>";
  }
  html_ += "</div></div>\n";
  for (const TimedStep& step : line_.steps) {
    Step(step);
  }
}

void Page::Step(const TimedStep& step) {
  html_ += "<div class=\"row\"><div class=\"name\"><b>" + Html(step.name.empty() ? "begin" : step.name) + "</b> " +
           "<span class=\"soft\">" + Html(AboutStep(step)) + "</span></div><div class=\"track\">";
  Bar("step", step.span, PhaseInWords(step.name) + ", " + DurationInWords(step.span.Length()));
  for (const Span& pause : step.pauses) {
    Bar("pause", pause, "pause, " + DurationInWords(pause.Length()));
  }
  for (const TimedCommand& command : step.commands) {
    Bar(command.failed ? "command failed" : "command", command.span,
        command.line + ", " + DurationInWords(command.span.Length()));
  }
  for (const StoryLine& line : story_) {
    const double at = line.entry != nullptr ? line.entry->seconds : 0;
    if (line.isTurningPoint && at >= step.span.from && (at < step.span.to || &step == &line_.steps.back())) {
      Bar("flash", {at, at}, line.text);
    }
  }
  html_ += "</div></div>\n";
}

void Page::Bar(const char* kind, const Span& span, const std::string& title) {
  html_ += std::string("<i class=\"") + kind + "\" style=\"left:" + Percent(span.from, line_.seconds) +
           ";width:" + Percent(span.Length(), line_.seconds) + "\" title=\"" + Html(title) + "\"></i>";
}

// What the drawing shows, for those who cannot see it.
std::string Page::AboutStep(const TimedStep& step) const {
  std::string text = PhaseInWords(step.name) + "; " + DurationInWords(step.span.Length());
  const auto count = step.commands.size();
  const auto failed = std::ranges::count_if(step.commands, [](const TimedCommand& command) { return command.failed; });
  if (count > 0) {
    text += ", " + std::to_string(count) + " shell command" + (count == 1 ? "" : "s");
  }
  if (failed > 0) {
    text += ", " + std::to_string(failed) + " failed";
  }
  double quiet = 0;
  for (const Span& pause : step.pauses) {
    quiet += pause.Length();
  }
  return quiet > 0 ? text + ", pauses of " + DurationInWords(quiet) : text;
}

void Page::Events() {
  html_ +=
      "<h2>What happened</h2>\n<table><thead><tr><th>Seconds</th><th>Event, and the answers to shell commands</th></tr>"
      "</thead><tbody>\n";
  // Of too many the last ones are those that tell how it ended.
  const std::size_t left = story_.size() > kMostLines ? story_.size() - kMostLines : 0;
  if (left > 0) {
    html_ += "<tr><td></td><td>" + std::to_string(left) + " earlier lines are left out.</td></tr>\n";
  }
  std::ranges::for_each(story_.begin() + static_cast<std::ptrdiff_t>(left), story_.end(),
                        [this](const StoryLine& line) { Event(line); });
  html_ += "</tbody></table>\n";
}

void Page::Event(const StoryLine& line) {
  const bool failed = line.text.starts_with("  fails: ");
  const std::string seconds = line.entry != nullptr ? Seconds(line.entry->seconds) : "";
  const char* const kind = failed ? " class=\"failure\"" : line.kind == "phase" ? " class=\"phase\"" : "";
  html_ += std::string("<tr") + kind + "><td class=\"at\">" + seconds + "</td><td class=\"text\">" + Html(line.text);
  const auto answer = line.kind == "command" ? answers_.find(line.entry->CommandKey()) : answers_.end();
  if (answer != answers_.end()) {
    for (const std::string& text : LinesOf(answer->second->Text("text"))) {
      html_ += "<span class=\"answer\">&larr; " + Html(text) + "</span>";
    }
  }
  html_ += "</td></tr>\n";
}

}  // namespace

std::string ToPage(const RecordedRun& run, const std::string& journal) {
  return Page(run, journal).Whole();
}

}  // namespace orvhost
