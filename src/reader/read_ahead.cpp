#include "reader/read_ahead.h"

#include <utility>

void read_ahead::start() {
  is_started_ = true;
  for (std::shared_ptr<trace_record>& record : records_) read(record);
}

std::shared_ptr<trace_record> read_ahead::take_record() {
  std::shared_ptr<trace_record>& place = records_[next_ % steps];
  std::shared_ptr<trace_record> record = std::exchange(place, nullptr);
  if (record) {
    ++next_;
    read(place);
  } else if (failure_) {
    std::rethrow_exception(std::exchange(failure_, nullptr));
  }
  return record;
}

void read_ahead::read(std::shared_ptr<trace_record>& record) {
  // Nothing comes behind a failure; behind the last record the reader has nothing more to give.
  if (failure_) return;
  try {
    record = reader_.next_record();
  } catch (...) {
    failure_ = std::current_exception();
  }
}
