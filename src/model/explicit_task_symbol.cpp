#include "model/explicit_task_symbol.h"

#include "common/append_number.h"

std::uint64_t explicit_task_symbol::explicit_task_count = 0;

explicit_task_symbol::explicit_task_symbol(const ___onx_id& id, implicit_task_symbol& implicit_task)
    : id_(id), gml_id_("yo"), implicit_task_(&implicit_task) {
  append_number(gml_id_, explicit_task_count++);
}

void* explicit_task_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }
