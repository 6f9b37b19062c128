#pragma once

#include <pthread.h>

namespace kzr {

/// While it is there, the thread cannot be cancelled, which would end functions halfway.
class uncancelled {
 public:
  uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
  uncancelled(const uncancelled&) = delete;
  uncancelled& operator=(const uncancelled&) = delete;
  ~uncancelled() { pthread_setcancelstate(state_, nullptr); }

 private:
  int state_ = 0;
};

}  // namespace kzr
