// The subcommands. Each adds itself to the program; what it does is behind `outRun`.

#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace Host {

/// What the chosen subcommand does; gives the exit code.
using Run = std::function<int()>;

void AddBenchCommand(CLI::App& ioProgram, Run& outRun);
void AddGreyCommand(CLI::App& ioProgram, Run& outRun);
void AddPyramidCommand(CLI::App& ioProgram, Run& outRun);
void AddRegionCommand(CLI::App& ioProgram, Run& outRun);
void AddSelectCommand(CLI::App& ioProgram, Run& outRun);
void AddSelfCheckCommand(CLI::App& ioProgram, Run& outRun);
void AddTrackCommand(CLI::App& ioProgram, Run& outRun);

}  // namespace Host
