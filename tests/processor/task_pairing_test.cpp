#include "processor/task_pairing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(task_pairing, gives_each_end_the_events_of_its_begin) {
  // Of one thread: r begins a region, i an implicit task, t another OpenMP task, f one of a flow graph; e
  // ends an OpenMP task and g one of a flow graph. o ends an OpenMP task of another thread.
  struct {
    const char* records;
    const char* events;  ///< of each end
  } const cases[] = {{"e", "2"},
                     {"g", "1"},
                     {"te", "1"},
                     {"tee", "12"},
                     {"fgte", "11"},
                     {"ie", "2"},
                     {"itee", "12"},
                     {"toe", "21"},
                     {"riee", "22"},
                     {"ririeeee", "1122"},
                     {"ririeerieeee", "111122"},
                     {"rieerieeg", "22221"}};
  for (const auto& [records, events] : cases) {
    task_pairing pairing;
    std::string ends;
    for (const char record : std::string(records)) {
      if (record == 'r') pairing.note_region_begin(0);
      if (record == 'i') pairing.note_implicit_begin(0);
      if (record == 't' || record == 'f') pairing.note_begin(0, record == 't');
      if (record == 'e' || record == 'g') ends += std::to_string(pairing.end_task(0, record == 'e'));
      if (record == 'o') ends += std::to_string(pairing.end_task(1, true));
    }
    EXPECT_EQ(ends, events) << records;
  }
}

}  // namespace
