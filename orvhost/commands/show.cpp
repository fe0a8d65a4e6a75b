// orvhost show: the story of one run, from its journal. Reads the host's own files only.

#include "orvhost/commands/commands.h"
#include "orvhost/commands/look_back.h"
#include "orvhost/commands/output_file.h"
#include "orvhost/journal/page.h"
#include "orvhost/journal/story.h"

namespace orvhost {

namespace {

std::vector<Fact> FactsOf(const RecordedRun& recorded, const std::string& journal) {
  return {{"run", "Run", recorded.id},
          {"command", "Command", recorded.Begin("command")},
          {"started", "Started", recorded.Begin("t")},
          {"journal", "Journal", journal}};
}

Outcome WritePage(const Run& run, const RecordedRun& recorded, const std::string& journal, Outcome outcome) {
  const std::string& path = run.options.pageFile;
  if (!WriteOutputFile(run, "--html", path, ToPage(recorded, journal), OutputFile::kMustBeNew, &outcome)) {
    return outcome;
  }
  outcome.verdict = "page-written";
  outcome.summary = "The page of run " + recorded.id + " is written to " + path + ".";
  outcome.facts = FactsOf(recorded, journal);
  return outcome;
}

Outcome Show(const Run& run) {
  Outcome outcome;
  outcome.phase = "show";
  const std::string folder = JournalFolder(run.options.installPath);
  const auto recorded = ReadRunNamed(run, ListJournals(folder), run.options.runName, &outcome);
  if (!recorded) {
    return outcome;
  }
  outcome.verdict = "shown";
  for (const std::string& sentence : Damage(*recorded)) {
    Note(run, &outcome, sentence);
  }
  if (!run.options.pageFile.empty()) {
    return WritePage(run, *recorded, JournalPath(folder, recorded->id), outcome);
  }
  const auto story = TellStory(*recorded);
  outcome.listing.name = "timeline";
  for (const StoryLine& line : story) {
    outcome.lines.push_back(line.seconds + "  " + line.text);
    outcome.listing.entries.push_back({{"s", line.seconds}, {"kind", line.kind}, {"text", line.text}});
  }
  outcome.facts = FactsOf(*recorded, JournalPath(folder, recorded->id));
  outcome.summary = "Run " + recorded->id + ", orvhost " + recorded->Begin("command") + " on a server of type " +
                    recorded->Begin("server_type") + "; seconds since its start:";
  return outcome;
}

constexpr const char* kShowHelp = R"(Shows a run with the seconds since its start: the steps that it took, the
commands that were run and how they ended, what failed, the plug-in's records
with their detail codes in words, and how the run ended. The journal itself has
more: every line of the trace, and the answers to the commands.

With --html it becomes a page for a browser instead: the steps, shell commands
and pauses drawn to scale, the answers, what failed and what to do. The page has
no script, fetches nothing, and prints well. FILE must not be there yet.

Asks neither the BMC nor the plug-in. Lines of the journal that are damaged are
counted and left out.

Examples:
  orvhost show last
  orvhost show 42
  orvhost show last --html run.html

Exit codes: 0 shown or written; 2 there is no such run, or more than one, or
FILE cannot be made; 7 its journal cannot be read, or FILE not be written.)";

}  // namespace

const Command kShowCommand = {
    "show",
    "Show what happened in one run",
    kShowHelp,
    {{"run", &Options::runName, "A run: its id, its number, a beginning, or \"last\"", "RUN", true},
     {"--html", &Options::pageFile, "Write a page for a browser to this new file", "FILE"}},
    Show};

}  // namespace orvhost
