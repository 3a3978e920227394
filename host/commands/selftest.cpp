#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/self_test.h"

namespace kv_host {
namespace {

struct SelfTestOptions {
  bool json = false;
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
void PrintTable(const std::vector<TestedMember>& members, const std::vector<SelfTestCheck>& checks) {
  std::printf("members, compared with the plain rules:\n");
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
    std::printf("  %-12s%d operations, %lld calls: ", member.name.c_str(), operations, calls);
    if (differing == 0) {
      std::printf("all equal\n");
    } else {
      std::printf("%d DIFFER\n", differing);
    }
  }
  for (const SelfTestCheck& check : checks) {
    if (check.difference.empty()) continue;
    std::printf("  %s of %s: %s\n", check.what.c_str(), check.member.c_str(), check.difference.c_str());
  }
}

nlohmann::ordered_json ToJson(const std::vector<SelfTestCheck>& checks) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const SelfTestCheck& check : checks) {
    nlohmann::ordered_json one = {{"tested", check.member},
                                  {"what", check.what},
                                  {"rounds", check.rounds},
                                  {"refusals", check.refusals},
                                  {"equal", check.difference.empty()}};
    if (!check.difference.empty()) one["difference"] = check.difference;
    all.push_back(std::move(one));
  }
  return all;
}

int Run(const SelfTestOptions& options) {
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
  if (options.json) {
    const nlohmann::ordered_json result = {
        {"seed", scale.seed}, {"equal", differences == 0}, {"members", ToJson(checks)}};
    std::printf("%s\n", result.dump(2).c_str());
  } else {
    PrintTable(members, checks);
    if (differences == 0) {
      std::printf("all is equal (seed %llu)\n", static_cast<unsigned long long>(scale.seed));
    } else {
      std::printf("%td of %zu comparisons DIFFER; --seed %llu repeats this\n", differences, checks.size(),
                  static_cast<unsigned long long>(scale.seed));
    }
  }
  return differences == 0 ? Done : NothingFound;
}

}  // namespace

void AddSelfTestCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<SelfTestOptions>();
  CLI::App* command = app.add_subcommand(
      "selftest", "Compare every plug-in that was found with the plain rules, on random pictures");
  command->add_flag("--json", options->json, "answer as JSON");
  command->add_option("--rounds", options->rounds, "random calls of every operation (default: 200)")
      ->check(CLI::Range(1, 1000000))
      ->type_name("N");
  command->add_option("--seed", options->seed, "repeats a run (default: another one every time)")
      ->type_name("N");
  command->footer("Exit status 1: something differs.\nExample: kv selftest --rounds 1000");
  command->callback([options, &session] { session.status = Run(*options); });
}

}  // namespace kv_host
