#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "recorder/trace_recorder.h"

/// A small data-flow library that records what it does: nodes joined by edges, run by worker threads.
namespace flow {

/// What nodes pass on, and what all bodies share. Both are the program's own.
struct passage;
struct application;

/// One passage, or after a join one of each input.
using message = std::vector<std::shared_ptr<passage>>;

class flow_graph;
struct node;

/// Lets a running body send messages to the node's successors.
class emitter {
 public:
  void operator()(std::size_t output, const message& content) const;

 private:
  friend class flow_graph;
  emitter(flow_graph& graph, node& from) : graph_(graph), from_(from) {}

  flow_graph& graph_;
  node& from_;
  mutable bool used_ = false;
};

/// The work of a node. Bodies of one node run at the same time up to the node's limit.
using body = void (*)(application& shared, const message& input, const emitter& emit);

/// A port of a node, with the edges that leave it when it is an output.
struct port {
  struct target {
    node* to;
    std::size_t input;
  };

  kzr::object_id id;
  std::uint64_t aliases = 0;  ///< how many enclosing composite nodes show this port as theirs
  std::vector<target> targets;
};

/// One node; made and owned by its graph, opaque for everybody else.
struct node {
  enum class behaviour { source, work, queue, limit, join };

  behaviour does;
  kzr::object_id id;
  kzr::object_id body_id;
  body code = nullptr;
  std::size_t limit = 0;  ///< bodies, or messages for a limiter, at the same time; 0 for any number
  std::size_t active = 0;
  std::vector<port> inputs;
  std::vector<port> outputs;
  std::deque<message> waiting;
  std::vector<std::deque<message>> collected;  ///< per input of a join
};

/// A node that shows ports of its inner nodes as its own; in the trace only, the messages know nothing of it.
struct composite {
  kzr::object_id id;
  std::size_t inputs = 0;
  std::size_t outputs = 0;
};

/// Builds the graph from one thread, then runs it once. Owns nodes and worker threads. The recorder and the
/// shared application data must outlive it.
class flow_graph {
 public:
  flow_graph(kzr::trace_recorder& recorder, application& shared, std::string_view name);

  /// Runs again and again, alone, for as long as it emits something.
  node& add_source(std::string_view name, body code);
  node& add_function(std::string_view name, body code, std::size_t limit, std::size_t outputs = 1);
  node& add_queue(std::string_view name);
  /// Lets `limit` messages through; a message at input 1 makes room for another one.
  node& add_limiter(std::string_view name, std::size_t limit);
  /// Pairs messages in the order of their arrival.
  node& add_join(std::string_view name, std::size_t inputs);

  composite add_composite(std::string_view name);
  void put_inside(const composite& outer, const kzr::object_id& inner);
  void show_input(composite& outer, node& inner, std::size_t input);
  void show_output(composite& outer, node& inner, std::size_t output);

  void connect(node& from, std::size_t output, node& to, std::size_t input);
  void disconnect(node& from, std::size_t output, node& to, std::size_t input);

  /// Starts the sources and `threads` workers; returns when all messages have come to rest.
  void run(unsigned threads);
  /// A remark on the timeline.
  void remark(std::string_view text);

  [[nodiscard]] std::uint64_t task_count() const { return task_count_; }

 private:
  friend class emitter;

  struct task {
    node* of;
    message input;
  };

  node& add_node(node::behaviour does, std::string_view name, std::string_view kind, std::size_t inputs,
                 std::size_t outputs);
  void add_body(node& of, body code, std::size_t limit);
  void name_object(const kzr::object_id& id, std::string_view name);
  void show_port(const composite& outer, port& inner, std::string_view kind);
  std::uint64_t port_kind(std::string_view direction, std::size_t index);

  void send(node& from, std::size_t output, const message& content);
  void receive(node& at, std::size_t input, const message& content);
  void schedule(node& of, message input);
  void work();
  void execute(const task& job);

  kzr::trace_recorder& recorder_;
  application& shared_;
  const std::uint64_t domain_;
  const std::uint64_t object_name_;
  const std::uint64_t task_name_;
  const kzr::object_id id_;
  std::vector<std::unique_ptr<node>> nodes_;

  std::mutex lock_;  ///< for the members below and the changing parts of the nodes
  std::condition_variable changed_;
  std::deque<task> tasks_;
  std::size_t unfinished_ = 0;
  std::uint64_t task_count_ = 0;
};

}  // namespace flow
