#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <random>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/self_test.h"
#include "host/text_stream.h"

namespace kv_host {
namespace {

struct SelfTestOptions {
  int rounds = 200;
  std::uint64_t seed = 0;
};

[[noreturn]] void ReportCrash(int /*signal*/) {
  std::fputs("kv: crashed in or after ", stderr);
  std::fputs(CurrentCheck(), stderr);
  std::fputs("\n", stderr);
  std::_Exit(NothingFound);
}

std::vector<TestedMember> UsableMembers(const Family& family) {
  kv_img::AlgorithmManagerImpl& manager = *kv_img::AlgorithmManagerImpl::GetInstance();
  std::vector<TestedMember> members;
  for (const kv_img::MemberProbe& probe : family.Probes()) {
    if (probe.finding != kv_img::MemberProbe::Finding::Usable) continue;
    members.push_back({Narrow(probe.name), [&manager, name = probe.name](const auto& operation) {
                         return manager.AskMember(name, operation.algorithm.c_str(), operation.ids.data(),
                                                  static_cast<int>(operation.ids.size()));
                       }});
  }
  if (members.empty()) throw NoMemberError("there is no usable member to test (kv members tells why)");
  return members;
}

/// A line for every member, then what differs.
std::string Table(const std::vector<TestedMember>& members, const std::vector<SelfTestCheck>& checks) {
  TextStream text;
  text << "members, compared with the plain rules:\n";
  for (const TestedMember& member : members) {
    int operations = 0;
    int differing = 0;
    long long calls = 0;
    for (const SelfTestCheck& check : checks) {
      if (check.member != member.name) continue;
      ++operations;
      calls += check.rounds;
      if (!check.difference.empty()) ++differing;
    }
    text << "  " << std::left << std::setw(12) << member.name << operations << " operations, " << calls
         << " calls: ";
    if (differing == 0) {
      text << "all equal\n";
    } else {
      text << differing << " DIFFER\n";
    }
  }
  for (const SelfTestCheck& check : checks) {
    if (check.difference.empty()) continue;
    text << "  " << check.what << " of " << check.member << ": " << check.difference << '\n';
  }
  return text.str();
}

JsonText ToJson(const std::vector<SelfTestCheck>& checks) {
  JsonText all = JsonText::Array();
  for (const SelfTestCheck& check : checks) {
    JsonText one = JsonText::Object();
    one.Add("tested", check.member).Add("what", check.what);
    one.Add("rounds", check.rounds).Add("refusals", check.refusals).Add("equal", check.difference.empty());
    if (!check.difference.empty()) one.Add("difference", check.difference);
    all.Add(one);
  }
  return all;
}

void Run(const SelfTestOptions& options, Session& session) {
  const Family family;
  const std::vector<TestedMember> members = UsableMembers(family);
  SelfTestScale scale{options.rounds, options.seed};
  if (scale.seed == 0) scale.seed = std::random_device{}() | 1U;
  const auto previousFault = std::signal(SIGSEGV, ReportCrash);
  const auto previousIllegal = std::signal(SIGILL, ReportCrash);
  const auto checks = CheckMembers(members, scale);
  std::signal(SIGSEGV, previousFault);
  std::signal(SIGILL, previousIllegal);

  const auto differences =
      std::ranges::count_if(checks, [](const auto& check) { return !check.difference.empty(); });
  session.result = JsonText::Object();
  session.result->Add("seed", scale.seed).Add("equal", differences == 0).Add("members", ToJson(checks));
  const std::string seed = std::to_string(scale.seed);
  session.answer = Table(members, checks);
  if (differences == 0) {
    session.answer += "all is equal (seed " + seed + ")\n";
    return;
  }
  const std::string verdict = std::to_string(differences) + " of " + std::to_string(checks.size()) +
                              " comparisons DIFFER; --seed " + seed + " repeats this";
  session.answer += verdict + "\n";
  session.failure = {NothingFound, "different", verdict};
}

}  // namespace

void AddSelfTestCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<SelfTestOptions>();
  CLI::App* command = app.add_subcommand(
      "selftest", "Compare every plug-in that was found with the plain rules, on random pictures");
  AddReportOption(*command, session);
  command->add_option("--rounds", options->rounds, "random calls of every operation (default: 200)")
      ->check(CLI::Range(1, 1000000))
      ->type_name("N");
  command->add_option("--seed", options->seed, "repeats a run (default: another one every time)")
      ->type_name("N");
  command->footer("Exit status 1: something differs.\nExample: kv selftest --rounds 1000");
  command->callback([options, &session] { Run(*options, session); });
}

}  // namespace kv_host
