#include <ostream>

#include "model/key_symbol.h"

void key_symbol::dump_as_graphml(kzr_data_manager&, std::ostream& os, const std::string& indent) {
  os << indent << "<key id=\"" << gml_id() << "\" attr.name=\"" << attribute_name_ << "\" for=\"" << target_
     << "\" attr.type=\"" << attribute_type_ << "\" namespace=\"" << name_space_ << "\"/>\n";
}
