#include "kzr/report/code_locator.h"

#include <cxxabi.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>

#include <cstdlib>
#include <filesystem>

namespace {

std::string demangle(const char* name) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> plain(
      abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
  return plain ? plain.get() : name;
}

int take_first(Dwfl_Module* module, void**, const char*, Dwarf_Addr, void* taken) {
  *static_cast<Dwfl_Module**>(taken) = module;
  return DWARF_CB_ABORT;
}

Dwfl_Module* first_module(Dwfl* session) {
  Dwfl_Module* module = nullptr;
  dwfl_getmodules(session, take_first, static_cast<void*>(&module), 0);
  return module;
}

/// The line of the code at `address`; null where none is known. Images need not list the addresses of their
/// units, so those are asked one by one when the list has no answer.
Dwarf_Line* find_line(Dwfl_Module* module, Dwarf_Addr address) {
  Dwarf_Addr bias = 0;
  if (Dwarf_Die* const unit = dwfl_module_addrdie(module, address, &bias)) {
    if (Dwarf_Line* const line = dwarf_getsrc_die(unit, address - bias)) return line;
  }
  for (Dwarf_Die* unit = dwfl_module_nextcu(module, nullptr, &bias); unit != nullptr;
       unit = dwfl_module_nextcu(module, unit, &bias)) {
    if (dwarf_haspc(unit, address - bias) == 1) return dwarf_getsrc_die(unit, address - bias);
  }
  return nullptr;
}

}  // namespace

code_locator::code_locator() {
  // The library would ask the servers named there for what is not on this machine.
  unsetenv("DEBUGINFOD_URLS");
}

code_locator::~code_locator() = default;

void code_locator::session_closer::operator()(Dwfl* session) const { dwfl_end(session); }

code_locator::session code_locator::open(const std::string& image) {
  static const Dwfl_Callbacks callbacks = {.find_elf = dwfl_build_id_find_elf,
                                           .find_debuginfo = dwfl_standard_find_debuginfo,
                                           .section_address = dwfl_offline_section_address,
                                           .debuginfo_path = nullptr};
  std::error_code failure;
  // Opening anything else might wait for ever.
  if (!std::filesystem::is_regular_file(image, failure)) return nullptr;
  session opened(dwfl_begin(&callbacks));
  if (!opened || dwfl_report_offline(opened.get(), "", image.c_str(), -1) == nullptr) return nullptr;
  dwfl_report_end(opened.get(), nullptr, nullptr);
  return opened;
}

code_place code_locator::find(const std::string& image, std::uint64_t offset) {
  const auto [known, is_new] = images_.try_emplace(image);
  if (is_new) known->second = open(image);
  Dwfl_Module* const module = known->second ? first_module(known->second.get()) : nullptr;
  GElf_Addr bias = 0;
  if (module == nullptr || dwfl_module_getelf(module, &bias) == nullptr) return {};
  const Dwarf_Addr address = offset + bias;
  code_place place;
  if (const char* const name = dwfl_module_addrname(module, address)) place.function = demangle(name);
  if (Dwarf_Line* const line = find_line(module, address)) {
    int number = 0;
    const char* const file = dwarf_linesrc(line, nullptr, nullptr);
    if (file != nullptr && dwarf_lineno(line, &number) == 0)
      place.source = std::string(file) + ':' + std::to_string(number);
  }
  return place;
}
