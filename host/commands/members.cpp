#include <iomanip>
#include <memory>

#include "frame/platform/wide_level.h"
#include "host/combinations.h"
#include "host/commands/command.h"
#include "host/formats/file_name.h"
#include "host/text_stream.h"

namespace kv_host {
namespace {

using kv_img::MemberProbe;

std::string StateOf(const MemberProbe& probe) {
  switch (probe.finding) {
    case MemberProbe::Finding::NotLoaded:
      return "not found: " + probe.problem;
    case MemberProbe::Finding::NoPriority:
      return "does not export getLibraryPriority";
    case MemberProbe::Finding::NoFeatureMask:
      return "does not export getCPUFeature";
    case MemberProbe::Finding::NoFeature:
      return "this processor has none of the features it needs";
    case MemberProbe::Finding::Throws:
      return probe.problem;
    case MemberProbe::Finding::Usable:
      break;
  }
  return probe.answersRequests ? "usable" : "usable, but does not export _LoadAlgorithm";
}

/// The level that a member works at; empty for those that have none.
std::string LevelOf(const MemberProbe& probe) {
  const bool hasLevels =
      probe.finding == MemberProbe::Finding::Usable && probe.name == kv_img::memberWithLevels;
  return hasLevels ? kv_img::NameOf(kv_img::LevelInForce()) : "";
}

std::string LevelNote(const MemberProbe& probe) {
  const std::string level = LevelOf(probe);
  if (level.empty()) return {};
  const std::string supported = kv_img::NameOf(kv_img::SupportedLevel());
  return ", level " + level +
         (level == supported ? "" : " by KV_LEVEL (the processor has " + supported + ")");
}

bool IsFound(const MemberProbe& probe) {
  return probe.finding != MemberProbe::Finding::NotLoaded &&
         probe.finding != MemberProbe::Finding::NoPriority && probe.finding != MemberProbe::Finding::Throws;
}

std::vector<std::string> OfferedBy(const Family& family, const MemberProbe& probe) {
  std::vector<std::string> offered;
  for (const Combination& combination : AllCombinations()) {
    if (family.Answers(probe.name, combination.algorithm, combination.ids))
      offered.push_back(combination.Text());
  }
  return offered;
}

std::string Table(const Family& family, bool showsAll) {
  TextStream text;
  for (const MemberProbe& probe : family.Probes()) {
    text << std::left << std::setw(12) << Narrow(probe.name);
    if (IsFound(probe)) {
      text << " priority " << probe.priority << ", feature mask 0x" << std::hex << probe.featureMask
           << std::dec << ',';
    }
    text << ' ' << StateOf(probe) << LevelNote(probe) << '\n';
    if (probe.finding != MemberProbe::Finding::Usable) continue;
    const auto offered = OfferedBy(family, probe);
    text << "  " << Utf8Name(probe.file) << "\n  " << offered.size() << " combinations\n";
    if (!showsAll) continue;
    for (const std::string& combination : offered) text << "    " << combination << '\n';
  }
  return text.str();
}

JsonText ToJson(const Family& family) {
  JsonText all = JsonText::Array();
  for (const MemberProbe& probe : family.Probes()) {
    JsonText one = JsonText::Object();
    one.Add("name", Narrow(probe.name)).Add("found", IsFound(probe)).Add("state", StateOf(probe));
    one.Add("usable", probe.finding == MemberProbe::Finding::Usable);
    if (IsFound(probe)) {
      one.Add("file", Utf8Name(probe.file)).Add("priority", probe.priority);
      one.Add("featureMask", probe.featureMask);
    }
    if (const std::string level = LevelOf(probe); !level.empty()) one.Add("level", level);
    all.Add(one.Add("combinations", OfferedBy(family, probe)));
  }
  return JsonText::Object().Add("members", all);
}

void AnswerRequest(const Family& family, const std::string& request, Session& session) {
  const Combination combination = ParseCombination(request, "--for");
  const std::string answer = family.WhoAnswers(combination.algorithm, combination.ids);
  JsonText members = JsonText::Array();
  TextStream text;
  for (const MemberProbe& probe : family.Probes()) {
    const std::string name = Narrow(probe.name);
    const bool offers = family.Answers(probe.name, combination.algorithm, combination.ids);
    std::string why;
    if (probe.finding != MemberProbe::Finding::Usable) {
      why = StateOf(probe);
    } else if (!offers) {
      why = "does not offer it";
    } else if (name == answer) {
      why = "answers: the highest priority (" + std::to_string(probe.priority) + ") that offers it";
    } else {
      why = "offers it, priority " + std::to_string(probe.priority) + " is lower";
    }
    members.Add(JsonText::Object().Add("name", name).Add("offers", offers).Add("why", why));
    text << std::left << std::setw(12) << name << ' ' << why << '\n';
  }
  session.answer = text.str();
  session.result = JsonText::Object();
  session.result->Add("request", combination.Text());
  session.result->Add("answeredBy", answer.empty() ? std::nullopt : std::optional(answer));
  session.result->Add("members", members);
  if (answer.empty()) {
    session.failure = {NoMember, "noMember", "no member of the family offers " + combination.Text()};
  }
}

}  // namespace

void AddMembersCommand(CLI::App& app, Session& session) {
  struct Options {
    bool all = false;
    std::string request;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("members", "Show the plug-ins that were found and what they offer");
  AddReportOption(*command, session);
  CLI::Option* all = command->add_flag("--all", options->all, "list every combination of pixel classes");
  command->add_option("--for", options->request, "show who would answer a request, such as Copy:yuv422:dib32")
      ->excludes(all)
      ->type_name("REQUEST");
  command->footer("Example: kv members --for Copy:yuv422:dib24");
  command->callback([options, &session] {
    const Family family;
    if (!options->request.empty()) return AnswerRequest(family, options->request, session);
    session.answer = Table(family, options->all);
    session.result = ToJson(family);
  });
}

}  // namespace kv_host
