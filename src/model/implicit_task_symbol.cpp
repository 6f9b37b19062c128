#include "model/implicit_task_symbol.h"

#include "common/append_number.h"

std::uint64_t implicit_task_symbol::implicit_task_count = 0;

implicit_task_symbol::implicit_task_symbol(const ___onx_id& id, parallel_region_symbol* region,
                                           unsigned long handle)
    : id_(id), region_(region), handle_(handle), gml_id_("i") {
  append_number(gml_id_, implicit_task_count++);
}

void* implicit_task_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }
