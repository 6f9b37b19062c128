/* A tool that the runtime calls at the same events as the recording library, and that does nothing: what the
   events cost by themselves. */
#include <omp-tools.h>

static void on_parallel_begin(ompt_data_t* creator, const ompt_frame_t* frame, ompt_data_t* region,
                              unsigned int threads, int flags, const void* code) {
  (void)creator, (void)frame, (void)region, (void)threads, (void)flags, (void)code;
}
static void on_parallel_end(ompt_data_t* region, ompt_data_t* creator, int flags, const void* code) {
  (void)region, (void)creator, (void)flags, (void)code;
}
static void on_implicit_task(ompt_scope_endpoint_t endpoint, ompt_data_t* region, ompt_data_t* task,
                             unsigned int threads, unsigned int index, int flags) {
  (void)endpoint, (void)region, (void)task, (void)threads, (void)index, (void)flags;
}
static void on_sync_region(ompt_sync_region_t kind, ompt_scope_endpoint_t endpoint, ompt_data_t* region,
                           ompt_data_t* task, const void* code) {
  (void)kind, (void)endpoint, (void)region, (void)task, (void)code;
}
static void on_task_create(ompt_data_t* creator, const ompt_frame_t* frame, ompt_data_t* task, int flags,
                           int has_dependences, const void* code) {
  (void)creator, (void)frame, (void)task, (void)flags, (void)has_dependences, (void)code;
}
static void on_dependences(ompt_data_t* task, const ompt_dependence_t* dependences, int count) {
  (void)task, (void)dependences, (void)count;
}
static void on_task_schedule(ompt_data_t* from, ompt_task_status_t status, ompt_data_t* to) {
  (void)from, (void)status, (void)to;
}

static int initialize(ompt_function_lookup_t lookup, int device, ompt_data_t* data) {
  (void)device, (void)data;
  const ompt_set_callback_t set = (ompt_set_callback_t)lookup("ompt_set_callback");
  set(ompt_callback_parallel_begin, (ompt_callback_t)on_parallel_begin);
  set(ompt_callback_parallel_end, (ompt_callback_t)on_parallel_end);
  set(ompt_callback_implicit_task, (ompt_callback_t)on_implicit_task);
  set(ompt_callback_sync_region, (ompt_callback_t)on_sync_region);
  set(ompt_callback_task_create, (ompt_callback_t)on_task_create);
  set(ompt_callback_dependences, (ompt_callback_t)on_dependences);
  set(ompt_callback_task_schedule, (ompt_callback_t)on_task_schedule);
  return 1;
}

static void finalize(ompt_data_t* data) { (void)data; }

ompt_start_tool_result_t* ompt_start_tool(unsigned int version, const char* runtime) {
  (void)version, (void)runtime;
  static ompt_start_tool_result_t result = {initialize, finalize, {0}};
  return &result;
}
