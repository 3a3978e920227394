#include "host/commands/command.h"

namespace kv_host {

void AddAllCommands(CLI::App& app, Session& session) {
  AddDemoCommand(app, session);
  AddMembersCommand(app, session);
  AddInfoCommand(app, session);
  AddConvertCommand(app, session);
  AddCopyRoiCommand(app, session);
  AddDifferenceCommand(app, session);
  AddAverageCommand(app, session);
  AddFilterCommand(app, session);
  AddBlendCommand(app, session);
  AddAlphaCommands(app, session);
  AddKeyCommand(app, session);
  AddParityCommand(app, session);
  AddPanCommand(app, session);
  AddFindCommand(app, session);
  AddTrackCommand(app, session);
  AddClipCommand(app, session);
  AddJoinCommand(app, session);
  AddSelfTestCommand(app, session);
}

}  // namespace kv_host
