#include "kzr/output/output_watch.h"

#include <array>
#include <csignal>

namespace {

constexpr std::array delayed = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;

struct sigaction inherited[delayed.size()];

}  // namespace

void output_watch::advance(std::uint64_t bytes) {
  progress_.add(bytes);
  if (received != 0) throw interruption{received};
}

delayed_signals::delayed_signals() {
  received = 0;
  // Calls that wait are to end when a signal comes: no SA_RESTART.
  struct sigaction note {};
  note.sa_handler = [](int signal) { received = signal; };
  for (std::size_t i = 0; i < delayed.size(); ++i) {
    sigaction(delayed[i], nullptr, &inherited[i]);
    if (inherited[i].sa_handler != SIG_IGN) sigaction(delayed[i], &note, nullptr);
  }
}

delayed_signals::~delayed_signals() {
  for (std::size_t i = 0; i < delayed.size(); ++i) sigaction(delayed[i], &inherited[i], nullptr);
}
