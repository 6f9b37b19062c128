#include "examples/flow_graph.h"

#include <algorithm>
#include <utility>

namespace flow {

using kzr::relation_code;

void emitter::operator()(std::size_t output, const message& content) const {
  used_ = true;
  const std::lock_guard guard(graph_.lock_);
  graph_.send(from_, output, content);
}

flow_graph::flow_graph(kzr::trace_recorder& recorder, application& shared, std::string_view name)
    : recorder_(recorder),
      shared_(shared),
      domain_(recorder.domain("pwl.flow")),
      object_name_(recorder.text("object_name")),
      task_name_(recorder.text("node_body")),
      id_(recorder.new_id()) {
  recorder_.announce(domain_, id_, {}, recorder_.text("graph"));
  name_object(id_, name);
}

node& flow_graph::add_source(std::string_view name, body code) {
  node& made = add_node(node::behaviour::source, name, "all::node::pwl::source_node", 0, 1);
  add_body(made, code, 1);
  return made;
}

node& flow_graph::add_function(std::string_view name, body code, std::size_t limit, std::size_t outputs) {
  const char* kind = outputs == 1 ? "all::node::pwl::function_node" : "all::node::pwl::multifunction_node";
  node& made = add_node(node::behaviour::work, name, kind, 1, outputs);
  add_body(made, code, limit);
  return made;
}

node& flow_graph::add_queue(std::string_view name) {
  node& made = add_node(node::behaviour::queue, name, "all::node::pwl::buffer_node", 1, 1);
  // A queue is a buffer that is announced a second time, with its own kind.
  recorder_.announce(domain_, made.id, id_, recorder_.text("queue_node"));
  return made;
}

node& flow_graph::add_limiter(std::string_view name, std::size_t limit) {
  node& made = add_node(node::behaviour::limit, name, "all::node::pwl::limiter_node", 2, 1);
  made.limit = limit;
  return made;
}

node& flow_graph::add_join(std::string_view name, std::size_t inputs) {
  node& made = add_node(node::behaviour::join, name, "join_node (queueing)", inputs, 1);
  made.collected.resize(inputs);
  return made;
}

node& flow_graph::add_node(node::behaviour does, std::string_view name, std::string_view kind,
                           std::size_t inputs, std::size_t outputs) {
  nodes_.push_back(std::make_unique<node>());
  node& made = *nodes_.back();
  made.does = does;
  made.id = recorder_.new_id();
  recorder_.announce(domain_, made.id, id_, recorder_.text(kind));
  name_object(made.id, name);
  for (std::size_t index = 0; index < inputs; ++index) {
    made.inputs.push_back({recorder_.new_id(), 0, {}});
    recorder_.announce(domain_, made.inputs.back().id, made.id, port_kind("input_port", index));
  }
  for (std::size_t index = 0; index < outputs; ++index) {
    made.outputs.push_back({recorder_.new_id(), 0, {}});
    recorder_.announce(domain_, made.outputs.back().id, made.id, port_kind("output_port", index));
  }
  return made;
}

void flow_graph::add_body(node& of, body code, std::size_t limit) {
  of.code = code;
  of.limit = limit;
  of.body_id = recorder_.new_id();
  recorder_.relate(domain_, of.body_id, relation_code::is_child_of, of.id);
  recorder_.describe(domain_, of.id, recorder_.text("code_address"), reinterpret_cast<std::uintptr_t>(code));
}

void flow_graph::name_object(const kzr::object_id& id, std::string_view name) {
  recorder_.describe(domain_, id, object_name_, name);
}

std::uint64_t flow_graph::port_kind(std::string_view direction, std::size_t index) {
  return recorder_.text(std::string(direction) + std::to_string(index));
}

composite flow_graph::add_composite(std::string_view name) {
  const composite made{recorder_.new_id()};
  recorder_.announce(domain_, made.id, id_, recorder_.text("composite_node"));
  name_object(made.id, name);
  return made;
}

void flow_graph::put_inside(const composite& outer, const kzr::object_id& inner) {
  recorder_.relate(domain_, outer.id, relation_code::is_parent_of, inner);
}

void flow_graph::show_input(composite& outer, node& inner, std::size_t input) {
  show_port(outer, inner.inputs[input], "input_port" + std::to_string(outer.inputs++));
}

void flow_graph::show_output(composite& outer, node& inner, std::size_t output) {
  show_port(outer, inner.outputs[output], "output_port" + std::to_string(outer.outputs++));
}

void flow_graph::show_port(const composite& outer, port& inner, std::string_view kind) {
  // The ports that stand for each other share the first word of their identifiers. A reader takes the last
  // but one of them for the inner port, so nothing may come between the two records.
  const kzr::object_id shown{inner.id.d1, ++inner.aliases, 0};
  const std::uint64_t kind_handle = recorder_.text(kind);
  recorder_.announce(domain_, shown, outer.id, kind_handle);
  recorder_.relate(domain_, outer.id, relation_code::is_parent_of, shown);
}

void flow_graph::connect(node& from, std::size_t output, node& to, std::size_t input) {
  from.outputs[output].targets.push_back({&to, input});
  recorder_.relate(domain_, from.outputs[output].id, relation_code::makes_edge_to, to.inputs[input].id);
}

void flow_graph::disconnect(node& from, std::size_t output, node& to, std::size_t input) {
  std::erase_if(from.outputs[output].targets,
                [&](const port::target& edge) { return edge.to == &to && edge.input == input; });
  recorder_.relate(domain_, from.outputs[output].id, relation_code::removes_edge_to, to.inputs[input].id);
}

void flow_graph::remark(std::string_view text) {
  recorder_.describe(domain_, recorder_.new_id(), recorder_.text("remark"), text);
}

void flow_graph::run(unsigned threads) {
  const kzr::object_id region = recorder_.new_id();
  recorder_.begin_region(domain_, region, id_, recorder_.text("run"));
  {
    const std::lock_guard guard(lock_);
    for (const std::unique_ptr<node>& candidate : nodes_) {
      if (candidate->does == node::behaviour::source) schedule(*candidate, {});
    }
  }
  std::vector<std::thread> workers;
  for (unsigned index = 0; index < threads; ++index) workers.emplace_back([this] { work(); });
  for (std::thread& worker : workers) worker.join();
  recorder_.end_region(domain_, region);
}

void flow_graph::send(node& from, std::size_t output, const message& content) {
  for (const port::target& edge : from.outputs[output].targets) receive(*edge.to, edge.input, content);
}

void flow_graph::receive(node& at, std::size_t input, const message& content) {
  switch (at.does) {
    case node::behaviour::source:
      break;
    case node::behaviour::work:
      if (at.limit == 0 || at.active < at.limit) {
        schedule(at, content);
      } else {
        at.waiting.push_back(content);
      }
      break;
    case node::behaviour::queue:
      send(at, 0, content);
      break;
    case node::behaviour::limit:
      if (input == 0) {
        at.waiting.push_back(content);
      } else {
        --at.active;
      }
      if (at.active < at.limit && !at.waiting.empty()) {
        ++at.active;
        const message next = std::move(at.waiting.front());
        at.waiting.pop_front();
        send(at, 0, next);
      }
      break;
    case node::behaviour::join: {
      at.collected[input].push_back(content);
      if (std::ranges::any_of(at.collected, [](const auto& messages) { return messages.empty(); })) break;
      message all;
      for (std::deque<message>& messages : at.collected) {
        all.insert(all.end(), messages.front().begin(), messages.front().end());
        messages.pop_front();
      }
      send(at, 0, all);
      break;
    }
  }
}

void flow_graph::schedule(node& of, message input) {
  ++of.active;
  ++unfinished_;
  ++task_count_;
  tasks_.push_back({&of, std::move(input)});
  changed_.notify_one();
}

void flow_graph::work() {
  std::unique_lock guard(lock_);
  while (true) {
    changed_.wait(guard, [this] { return !tasks_.empty() || unfinished_ == 0; });
    if (tasks_.empty()) return;
    const task job = std::move(tasks_.front());
    tasks_.pop_front();
    guard.unlock();
    execute(job);
    guard.lock();
    if (--unfinished_ == 0) changed_.notify_all();
  }
}

void flow_graph::execute(const task& job) {
  node& of = *job.of;
  const emitter emit(*this, of);
  recorder_.begin_task(domain_, of.body_id, id_, task_name_);
  of.code(shared_, job.input, emit);
  recorder_.end_task(domain_);

  const std::lock_guard guard(lock_);
  --of.active;
  if (of.does == node::behaviour::source && emit.used_) schedule(of, {});
  if (!of.waiting.empty()) {
    message next = std::move(of.waiting.front());
    of.waiting.pop_front();
    schedule(of, std::move(next));
  }
}

}  // namespace flow
