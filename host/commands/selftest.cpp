#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>

#include "check/checker.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/self_test.h"

namespace kv_host {
namespace {

constexpr const char* referenceMember = "kv_algoC";

struct SelfTestOptions {
  bool json = false;
  int rounds = 200;
  std::uint64_t seed = 0;
};

[[noreturn]] void ReportCrash(int /*signal*/) {
  std::fputs("kv: crashed in or after ", stderr);
  std::fputs(kv_check::CurrentKernel(), stderr);
  std::fputs("\n", stderr);
  std::_Exit(NothingFound);
}

std::vector<SelfTestCheck> CheckFamily(const Family& family, const SelfTestScale& scale) {
  kv_img::AlgorithmManagerImpl& manager = *kv_img::AlgorithmManagerImpl::GetInstance();
  TestedMember reference;
  std::vector<TestedMember> others;
  for (const kv_img::MemberProbe& probe : family.Probes()) {
    if (probe.finding != kv_img::MemberProbe::Finding::Usable) continue;
    TestedMember member{Narrow(probe.name), [&manager, name = probe.name](const auto& operation) {
                          return manager.AskMember(name, operation.algorithm.c_str(), operation.ids.data(),
                                                   static_cast<int>(operation.ids.size()));
                        }};
    if (member.name == referenceMember) {
      reference = std::move(member);
    } else {
      others.push_back(std::move(member));
    }
  }
  if (!reference.implementation) {
    throw NoMemberError(std::string(referenceMember) +
                        ", which the others are compared with, is not usable (kv members tells why)");
  }
  return CheckMembers(reference, others, scale);
}

/// Checks of one kernel set or one member.
struct Tally {
  std::string tested;
  int checks = 0;
  int skipped = 0;
  int differences = 0;
  long long rounds = 0;
};

std::vector<Tally> TalliesOf(const std::vector<SelfTestCheck>& checks) {
  std::vector<Tally> tallies;
  for (const SelfTestCheck& check : checks) {
    auto tally = std::ranges::find(tallies, check.tested, &Tally::tested);
    if (tally == tallies.end()) tally = tallies.insert(tally, Tally{.tested = check.tested});
    if (!check.wasRun) {
      ++tally->skipped;
      continue;
    }
    ++tally->checks;
    tally->rounds += check.rounds;
    if (!check.difference.empty()) ++tally->differences;
  }
  return tallies;
}

void PrintTable(const std::vector<SelfTestCheck>& checks, const char* things, const char* rounds) {
  for (const Tally& tally : TalliesOf(checks)) {
    std::printf("  %-12s", tally.tested.c_str());
    if (tally.checks == 0) {
      std::printf("not run: this processor lacks the instructions\n");
      continue;
    }
    std::printf("%d %s%lld %s: ", tally.checks, things, tally.rounds, rounds);
    if (tally.differences == 0) {
      std::printf("all equal\n");
    } else {
      std::printf("%d DIFFER\n", tally.differences);
    }
  }
  for (const SelfTestCheck& check : checks) {
    if (check.difference.empty()) continue;
    std::printf("  %s of %s: %s\n", check.what.c_str(), check.tested.c_str(), check.difference.c_str());
  }
}

nlohmann::ordered_json ToJson(const std::vector<SelfTestCheck>& checks) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const SelfTestCheck& check : checks) {
    nlohmann::ordered_json one = {{"tested", check.tested}, {"what", check.what}, {"run", check.wasRun}};
    if (check.wasRun) {
      one["rounds"] = check.rounds;
      one["refusals"] = check.refusals;
      one["equal"] = check.difference.empty();
      if (!check.difference.empty()) one["difference"] = check.difference;
    }
    all.push_back(std::move(one));
  }
  return all;
}

int Run(const SelfTestOptions& options) {
  const Family family;
  SelfTestScale scale{5 * options.rounds, options.rounds, options.seed};
  if (scale.seed == 0) scale.seed = std::random_device{}() | 1U;
  // A kernel that leaves its streams meets a protected page.
  const auto previousFault = std::signal(SIGSEGV, ReportCrash);
  const auto previousIllegal = std::signal(SIGILL, ReportCrash);
  const auto kernels = CheckKernels(kv_check::AllKernels(), scale);
  const auto members = CheckFamily(family, scale);
  std::signal(SIGSEGV, previousFault);
  std::signal(SIGILL, previousIllegal);

  std::size_t differences = 0;
  for (const auto* checks : {&kernels, &members}) {
    for (const SelfTestCheck& check : *checks) differences += check.difference.empty() ? 0 : 1;
  }
  if (options.json) {
    const nlohmann::ordered_json result = {{"seed", scale.seed},
                                           {"equal", differences == 0},
                                           {"kernels", ToJson(kernels)},
                                           {"members", ToJson(members)}};
    std::printf("%s\n", result.dump(2).c_str());
  } else {
    std::printf("kernels, compared with the scalar set:\n");
    PrintTable(kernels, "kernels, ", "records");
    std::printf("members, compared with %s:\n", referenceMember);
    PrintTable(members, "operations, ", "calls");
    if (differences == 0) {
      std::printf("all is equal (seed %llu)\n", static_cast<unsigned long long>(scale.seed));
    } else {
      std::printf("%zu of %zu comparisons DIFFER; --seed %llu repeats this\n", differences,
                  kernels.size() + members.size(), static_cast<unsigned long long>(scale.seed));
    }
  }
  return differences == 0 ? Done : NothingFound;
}

}  // namespace

void AddSelfTestCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<SelfTestOptions>();
  CLI::App* command = app.add_subcommand(
      "selftest",
      "Compare every plug-in and kernel set that runs here with the plain one, on random pictures");
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
