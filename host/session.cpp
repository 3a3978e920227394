#include "host/session.h"

#include <cstdio>
#include <utility>

#include "host/formats/byte_sink.h"

namespace kv_host {
namespace {

std::optional<std::string> NotEmpty(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

JsonText OperationsOf(const OperationLog& log) {
  JsonText operations = JsonText::Array();
  for (const OperationTally& tally : log.Tallies()) {
    operations.Add(JsonText::Object()
                       .Add("algorithm", tally.algorithm)
                       .Add("member", tally.member)
                       .Add("calls", tally.calls)
                       .Add("millisecondsPerCall", tally.MillisecondsPerCall()));
  }
  return operations;
}

JsonText FactOf(const ColourFact& fact) {
  return JsonText::Object().Add("value", fact.value).Add("from", fact.from);
}

JsonText ColoursOf(const OperationLog& log) {
  JsonText crossings = JsonText::Array();
  for (const Crossing& crossing : log.Crossings()) {
    crossings.Add(JsonText::Object()
                      .Add("to", crossing.to)
                      .Add("matrix", FactOf(crossing.matrix))
                      .Add("range", FactOf(crossing.range))
                      .Add("chroma", FactOf(crossing.chroma))
                      .Add("resample", FactOf(crossing.resample))
                      .Add("transfer", NotEmpty(std::string(crossing.transfer))));
  }
  return crossings;
}

JsonText InputsOf(const AvLog& log) {
  JsonText inputs = JsonText::Array();
  for (const AvNote& note : log.notes) {
    inputs.Add(JsonText::Object()
                   .Add("file", note.file)
                   .Add("container", note.container)
                   .Add("codec", note.codec)
                   .Add("pixels", note.pixels)
                   .Add("path", note.path)
                   .Add("times", note.times));
  }
  return inputs;
}

JsonText ErrorOf(const Failure& failure) {
  JsonText error = JsonText::Object();
  error.Add("code", failure.code).Add("message", failure.message);
  error.Add("file", NotEmpty(failure.file)).Add("offset", failure.offset);
  return error;
}

}  // namespace

std::string Session::Report() const {
  JsonText report = JsonText::Object();
  report.Add("version", 1);
  report.Add("command", NotEmpty(command)).Add("status", Status());
  report.Add("error", failure ? std::optional(ErrorOf(*failure)) : std::nullopt);
  report.Add("files", files).Add("operations", OperationsOf(log));
  report.Add("colours", ColoursOf(log))
      .Add("inputs", InputsOf(av))
      .Add("warnings", av.warnings)
      .Add("result", result);
  return (lines ? report.Line() : report.Text()) + "\n";
}

void Session::NoteLosses() {
  for (AvNote& note : av.notes) {
    if (const int turned = std::exchange(note.rotation, 0)) {
      av.warnings.push_back(note.file + ": players turn it by " + std::to_string(turned) +
                            " degrees; it is not turned");
    }
    if (!av.couldHoldSound) continue;
    if (std::exchange(note.hasSound, false)) av.warnings.push_back(note.file + ": its sound is left out");
  }
}

void Session::PrepareReport() {
  if (json) prepared_ = Report();
}

/// Allocates nothing: files may have their names.
void Session::PrintCrossings() const {
  for (const Crossing& crossing : log.Crossings()) {
    if (!crossing.transfer.empty()) {
      std::fprintf(stderr, "kv: the picture declares the transfer function %s, which stays as it is\n",
                   crossing.transfer == "pq" ? "PQ" : "HLG");
    }
    if (!verbose) continue;
    const char* way = crossing.to == "yuv"    ? "RGB or grey to 4:2:2"
                      : crossing.to == "grey" ? "4:2:2 to grey"
                                              : "4:2:2 to RGB";
    std::fprintf(stderr, "kv: %s: ", way);
    const auto print = [](const char* name, const ColourFact& fact, const char* end) {
      std::fprintf(stderr, "%s %.*s (%.*s)%s", name, static_cast<int>(fact.value.size()), fact.value.data(),
                   static_cast<int>(fact.from.size()), fact.from.data(), end);
    };
    print("matrix", crossing.matrix, ", ");
    print("range", crossing.range, ", ");
    print("chroma", crossing.chroma, ", ");
    print("resample", crossing.resample, "\n");
  }
}

void Session::PrintWarnings() const {
  for (const std::string& warning : av.warnings) std::fprintf(stderr, "kv: %s\n", warning.c_str());
}

void Session::PrintOutput() {
  if (json && (failure || prepared_.empty())) prepared_ = Report();
  const std::string& text = json ? prepared_ : answer;
  if (picturesOnStandardOutput) {
    std::fputs(text.c_str(), stderr);
  } else if (!text.empty()) {
    ByteSink output("-");
    output.Write(text);
    output.Commit();
  }
}

void Session::PrintLine(const std::string& line) const {
  if (picturesOnStandardOutput) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return;
  }
  ByteSink output("-");
  output.Write(line + "\n");
  output.Flush();
}

int Session::Print() {
  if (!json) {
    PrintCrossings();
    PrintWarnings();
  }
  // Where the report goes to standard error it goes there alone.
  if (failure && !(json && picturesOnStandardOutput)) Complain(failure->message, failure->status);
  try {
    PrintOutput();
  } catch (const FileError& error) {
    return Complain(error.what(), failure ? failure->status : BadInput);
  }
  return Status();
}

int Complain(const std::string& message, int status) {
  std::fprintf(stderr, "kv: %s\n", message.c_str());
  return status;
}

}  // namespace kv_host
