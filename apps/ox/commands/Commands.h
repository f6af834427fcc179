#pragma once

namespace CLI {
class App;
}

namespace Ox {

class Session;

/// Each adds one command to the program: its options, its help, and what it does when it is called.
void AddList(CLI::App& program, Session& session);
void AddInfo(CLI::App& program, Session& session);
void AddOption(CLI::App& program, Session& session);
void AddCalibrate(CLI::App& program, Session& session);
void AddCompare(CLI::App& program, Session& session);
void AddConvert(CLI::App& program, Session& session);
void AddFlash(CLI::App& program, Session& session);
void AddLamp(CLI::App& program, Session& session);
void AddReport(CLI::App& program, Session& session);
void AddScan(CLI::App& program, Session& session);
void AddVerify(CLI::App& program, Session& session);
void AddWatch(CLI::App& program, Session& session);
void AddRead(CLI::App& program, Session& session);

}
