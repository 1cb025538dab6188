// tessarine serve: a tuning file behind the live link, without a camera.
#include <signal.h>

#include <cmath>
#include <cstdio>

#include "commands.h"
#include "common/standard_output.h"
#include "errors.h"
#include "files.h"
#include "link_client.h"
#include "tuningsetmanager.h"

namespace tessarine {
namespace {

struct ServeChoice {
  std::string file, portFile;
  double seconds = 0;  // 0: without end
};

// Keeps back the signals that ask the program to end, so that it can wait for them; threads that
// are made meanwhile never get them.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  ~EndSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  // Returns when one has come, or after so many seconds, if that is not 0.
  void Wait(double seconds) const {
    if (seconds == 0) {
      int signal = 0;
      sigwait(&signals_, &signal);
      return;
    }
    timespec time{};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
    sigtimedwait(&signals_, nullptr, &time);
  }

 private:
  sigset_t signals_{};
  sigset_t before_{};
};

void Load(TuningSetManager& manager, const std::string& file) {
  LoadBytes(file);  // tells why a file can't be read, which the manager doesn't
  if (manager.LoadBinaryParameters(file.c_str()) && manager.IsLoadValid()) return;
  char error[TuningSetManager::kMaxError] = {};
  manager.GetError(error, sizeof(error));
  throw InputError(file + ": expected a tuning file that the library loads" +
                   (error[0] == '\0' ? "" : ": " + std::string(error)));
}

uint16_t PortOf(const TuningSetManager& manager) {
  if (const uint16_t port = manager.GetLinkPort(); port != 0) return port;
  throw LinkError("no port from " + std::to_string(kFirstLinkPort) + " to " +
                  std::to_string(kLastLinkPort) +
                  " is free, or the library was built without its live link");
}

// Who waits for the file finds it complete.
void TellPort(const std::string& path, uint16_t port) {
  if (!path.empty()) SaveText(path, std::to_string(port) + "\n");
}

void Serve(const ServeChoice& choice) {
  const EndSignals signals;
  TuningSetManager manager;
  Load(manager, choice.file);
  const uint16_t port = PortOf(manager);
  TellPort(choice.portFile, port);
  std::printf("%s: port %u; Ctrl-C ends it\n", choice.file.c_str(), port);
  tool::FlushOutput();
  signals.Wait(choice.seconds);
}

}  // namespace

void AddServeCommand(CLI::App& app, int& status) {
  const auto choice = std::make_shared<ServeChoice>();
  CLI::App* command = app.add_subcommand(
      "serve", "Loads a tuning file as a camera does, and keeps the live link up");
  command->add_option("file", choice->file, "The tuning file")->required();
  command->add_option("--port-file", choice->portFile, "File for the port that was free");
  command->add_option("--seconds", choice->seconds, "How long; else until it is interrupted")
      ->check(CLI::Range(0.01, 86400.0));
  command->footer(
      "The link is the library's own, to try tools on without a camera. Changes stay in memory.\n\n"
      "Examples:\n"
      "  tessarine serve tuning.bin\n"
      "  tessarine serve tuning.bin --port-file port.txt --seconds 60");
  command->callback([choice, &status] {
    Serve(*choice);
    status = kDone;
  });
}

}  // namespace tessarine
