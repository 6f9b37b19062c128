#include "analysis/thread_lines.h"

bool thread_lines::next() {
  if (beginning_.empty()) {
    if (left_.empty()) return false;
    // What is around the next one to end began before it, and behind the last end.
    for (std::uint32_t e = left_.front(); e != innermost_; e = executions_.parent_of(e)) {
      beginning_.push_back(e);
    }
  }
  is_begin_ = !beginning_.empty();
  if (is_begin_) {
    execution_ = innermost_ = beginning_.back();
    beginning_.pop_back();
  } else {
    execution_ = left_.front();
    innermost_ = executions_.parent_of(execution_);
    left_ = left_.subspan(1);
  }
  return true;
}
