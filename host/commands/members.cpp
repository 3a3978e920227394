#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "frame/platform/wide_level.h"
#include "host/combinations.h"
#include "host/commands/command.h"
#include "host/formats/file_name.h"

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
    case MemberProbe::Finding::Usable:
      break;
  }
  return probe.answersRequests ? "usable" : "usable, but does not export _LoadAlgorithm";
}

/// The level that a member works at; empty for those that have none.
std::string LevelOf(const MemberProbe& probe) {
  const bool hasLevels = probe.finding == MemberProbe::Finding::Usable && Narrow(probe.name) == "kv_algoSSE2";
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
         probe.finding != MemberProbe::Finding::NoPriority;
}

std::vector<std::string> OfferedBy(const Family& family, const MemberProbe& probe) {
  std::vector<std::string> offered;
  for (const Combination& combination : AllCombinations()) {
    if (family.Answers(probe.name, combination.algorithm, combination.ids))
      offered.push_back(combination.Text());
  }
  return offered;
}

void PrintText(const Family& family, bool showsAll) {
  for (const MemberProbe& probe : family.Probes()) {
    std::printf("%-12s", Narrow(probe.name).c_str());
    if (IsFound(probe)) std::printf(" priority %u, feature mask 0x%x,", probe.priority, probe.featureMask);
    std::printf(" %s%s\n", StateOf(probe).c_str(), LevelNote(probe).c_str());
    if (probe.finding != MemberProbe::Finding::Usable) continue;
    const auto offered = OfferedBy(family, probe);
    std::printf("  %s\n  %zu combinations", Utf8Name(probe.file).c_str(), offered.size());
    if (showsAll) {
      for (const std::string& combination : offered) std::printf("\n    %s", combination.c_str());
    }
    std::printf("\n");
  }
}

void PrintJson(const Family& family) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const MemberProbe& probe : family.Probes()) {
    nlohmann::ordered_json one = {
        {"name", Narrow(probe.name)}, {"found", IsFound(probe)}, {"state", StateOf(probe)}};
    if (IsFound(probe)) {
      one["file"] = Utf8Name(probe.file);
      one["priority"] = probe.priority;
      one["featureMask"] = probe.featureMask;
    }
    if (const std::string level = LevelOf(probe); !level.empty()) one["level"] = level;
    one["usable"] = probe.finding == MemberProbe::Finding::Usable;
    one["combinations"] = OfferedBy(family, probe);
    all.push_back(std::move(one));
  }
  std::printf("%s\n", all.dump(2).c_str());
}

int ShowWhoAnswers(const Family& family, const std::string& text, bool json) {
  const Combination combination = ParseCombination(text, "--for");
  const std::string answer = family.WhoAnswers(combination.algorithm, combination.ids);
  nlohmann::ordered_json members = nlohmann::ordered_json::array();
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
    members.push_back({{"name", name}, {"offers", offers}, {"why", why}});
    if (!json) std::printf("%-12s %s\n", name.c_str(), why.c_str());
  }
  if (json) {
    nlohmann::ordered_json result = {{"request", combination.Text()}, {"answeredBy", nullptr}};
    if (!answer.empty()) result["answeredBy"] = answer;
    result["members"] = std::move(members);
    std::printf("%s\n", result.dump(2).c_str());
  }
  return answer.empty() ? NoMember : Done;
}

}  // namespace

void AddMembersCommand(CLI::App& app, Session& session) {
  struct Options {
    bool json = false;
    bool all = false;
    std::string request;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("members", "Show the plug-ins that were found and what they offer");
  command->add_flag("--json", options->json, "answer as JSON");
  command->add_flag("--all", options->all, "list every combination of pixel classes");
  command->add_option("--for", options->request, "show who would answer a request, such as Copy:yuv422:dib32")
      ->type_name("REQUEST");
  command->footer("Example: kv members --for Copy:yuv422:dib24");
  command->callback([options, &session] {
    const Family family;
    if (!options->request.empty()) {
      session.status = ShowWhoAnswers(family, options->request, options->json);
    } else if (options->json) {
      PrintJson(family);
    } else {
      PrintText(family, options->all);
    }
  });
}

}  // namespace kv_host
