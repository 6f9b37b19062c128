#include "kzr/subcommands.h"

#include <array>

#include "kzr/convert/convert_command.h"
#include "kzr/dump/dump_command.h"
#include "kzr/export/export_command.h"
#include "kzr/help/help_command.h"
#include "kzr/record/record_command.h"
#include "kzr/report/report_command.h"

namespace {

constexpr std::array table = {
    subcommand{"convert", "Convert a run to GraphML and TraceML, and tell what is odd about it",
               set_up_convert},
    subcommand{"dump", "Tell what is in a run, and what about it is damaged or odd", set_up_dump},
    subcommand{"export", "Write a run as one of the forms that other tools open", set_up_export},
    subcommand{"record", "Run a program and record what it does with OpenMP", set_up_record},
    subcommand{"report", "Show a run as a page, and where its time went", set_up_report},
    subcommand{"help", "Show this help, or that of a command", set_up_help},
};

}  // namespace

std::span<const subcommand> subcommands() { return table; }
