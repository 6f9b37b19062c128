#include "model/parallel_region_symbol.h"

#include "common/append_number.h"

std::uint64_t parallel_region_symbol::parallel_region_count = 0;

parallel_region_symbol::parallel_region_symbol(const ___onx_id& id, parallel_region_symbol* parent,
                                               unsigned long handle)
    : id_(id), parent_(parent), handle_(handle), gml_id_("p") {
  append_number(gml_id_, parallel_region_count++);
}

void* parallel_region_symbol::as(symbol_class wanted) { return wanted == own_class ? this : nullptr; }
