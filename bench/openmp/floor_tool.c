/* The least that a recorder can do, called by the runtime at the events that the recording library records,
   but for dependences, which the loads do not have. Without KZR_FLOOR in the environment its callbacks do
   nothing: what the events cost by themselves. With it each event reads the clock and fills as many bytes as
   the library's records of it have, and full blocks are written to the files KZR_FLOOR.0, KZR_FLOOR.1 and so
   on, one for each thread. */
#include <omp-tools.h>

#include <fcntl.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum {
  block_bytes = 256 * 1024,
  /* Of the library's records, with a name of ten letters. */
  relation_bytes = 66,
  object_bytes = 73,
  name_bytes = 67,
  address_bytes = 66,
  task_begin_bytes = 81,
  task_end_bytes = 17,
  region_begin_bytes = 73,
  region_end_bytes = 41,
};

static const char* file_stem;

struct thread_block {
  int file;
  int used_bytes;
  char bytes[block_bytes + 4096];
};
static _Thread_local struct thread_block* this_thread;

static struct thread_block* new_block(void) {
  static atomic_int count;
  char path[4096];
  struct thread_block* const block = calloc(1, sizeof *block);
  snprintf(path, sizeof path, "%s.%d", file_stem, atomic_fetch_add(&count, 1));
  if (block != NULL) block->file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (block == NULL || block->file < 0) {
    perror(path);
    exit(1);
  }
  return block;
}

static void note_event(int bytes) {
  struct timespec now;
  if (file_stem == NULL) return;
  if (this_thread == NULL) this_thread = new_block();
  clock_gettime(CLOCK_MONOTONIC, &now);
  memset(this_thread->bytes + this_thread->used_bytes, (int)now.tv_nsec, (size_t)bytes);
  this_thread->used_bytes += bytes;
  if (this_thread->used_bytes < block_bytes) return;
  if (write(this_thread->file, this_thread->bytes, (size_t)this_thread->used_bytes) < 0) {
    perror(file_stem);
    exit(1);
  }
  this_thread->used_bytes = 0;
}

static void on_parallel_begin(ompt_data_t* creator, const ompt_frame_t* frame, ompt_data_t* region,
                              unsigned int threads, int flags, const void* code) {
  (void)creator, (void)frame, (void)region, (void)threads, (void)flags, (void)code;
  note_event(2 * object_bytes + name_bytes + address_bytes + region_begin_bytes + task_begin_bytes);
}
static void on_parallel_end(ompt_data_t* region, ompt_data_t* creator, int flags, const void* code) {
  (void)region, (void)creator, (void)flags, (void)code;
  note_event(task_end_bytes + region_end_bytes);
}
static void on_implicit_task(ompt_scope_endpoint_t endpoint, ompt_data_t* region, ompt_data_t* task,
                             unsigned int threads, unsigned int index, int flags) {
  (void)region, (void)task, (void)threads, (void)index;
  if ((flags & ompt_task_initial) != 0) return;
  note_event(endpoint == ompt_scope_begin ? object_bytes + task_begin_bytes : task_end_bytes);
}
static void on_sync_region(ompt_sync_region_t kind, ompt_scope_endpoint_t endpoint, ompt_data_t* region,
                           ompt_data_t* task, const void* code) {
  (void)region, (void)task, (void)code;
  if (kind == ompt_sync_region_taskwait || kind == ompt_sync_region_taskgroup) return;
  if (kind == ompt_sync_region_reduction) return;
  note_event(endpoint == ompt_scope_begin ? task_begin_bytes : task_end_bytes);
}
static void on_task_create(ompt_data_t* creator, const ompt_frame_t* frame, ompt_data_t* task, int flags,
                           int has_dependences, const void* code) {
  (void)creator, (void)frame, (void)task, (void)flags, (void)has_dependences, (void)code;
  note_event(relation_bytes + object_bytes + name_bytes + address_bytes);
}
static void on_task_schedule(ompt_data_t* from, ompt_task_status_t status, ompt_data_t* to) {
  (void)from, (void)to;
  note_event(status == ompt_task_complete ? task_end_bytes : task_begin_bytes);
}

static int initialize(ompt_function_lookup_t lookup, int device, ompt_data_t* data) {
  (void)device, (void)data;
  const ompt_set_callback_t set = (ompt_set_callback_t)lookup("ompt_set_callback");
  set(ompt_callback_parallel_begin, (ompt_callback_t)on_parallel_begin);
  set(ompt_callback_parallel_end, (ompt_callback_t)on_parallel_end);
  set(ompt_callback_implicit_task, (ompt_callback_t)on_implicit_task);
  set(ompt_callback_sync_region, (ompt_callback_t)on_sync_region);
  set(ompt_callback_task_create, (ompt_callback_t)on_task_create);
  set(ompt_callback_task_schedule, (ompt_callback_t)on_task_schedule);
  return 1;
}

static void finalize(ompt_data_t* data) { (void)data; }

ompt_start_tool_result_t* ompt_start_tool(unsigned int version, const char* runtime) {
  (void)version, (void)runtime;
  static ompt_start_tool_result_t result = {initialize, finalize, {0}};
  file_stem = getenv("KZR_FLOOR");
  return &result;
}
