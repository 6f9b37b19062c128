#compdef kzr
# A command, then what a function with its name completes.

local -a commands
commands=('convert:convert a run to GraphML and TraceML'
  'dump:tell what is in a run, and what about it is damaged or odd'
  'export:write a run as one of the forms that other tools open'
  'record:run a program and record what it does with OpenMP'
  'report:show a run as a page, and where its time went' 'help:show help, or that of a command')

_kzr_convert() {
  _arguments \
    '(-h --help)'{-h,--help}'[print a short help]' \
    '--version[print the version]' \
    '(-o --output)'{-o,--output}'[directory for the outputs]:directory:_directories' \
    '--name[base name of the outputs]:name:' \
    '--omp_experimental[write the insides of OpenMP regions too]' \
    ':run:_directories'
}

_kzr_dump() {
  local -a kinds
  kinds=(definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group
    region_begin region_end end_of_records)
  _arguments \
    '(-h --help)'{-h,--help}'[print a short help]' \
    '--version[print the version]' \
    '--omp_experimental[look into OpenMP regions]' \
    '(--records)--json[write the summary as JSON]' \
    '(--json)--records[list all records instead of the summary]' \
    '*--kind[only records of this kind]:kind:($kinds)' \
    '*--producer[only records of this trace file]:number:' \
    '--from[only records from this timestamp on]:ticks:' \
    '--to[only records up to this timestamp]:ticks:' \
    ':run:_directories'
}

_kzr_export() {
  _arguments \
    '(-h --help)'{-h,--help}'[print a short help]' \
    '--version[print the version]' \
    '--to[the format]:format:(perfetto speedscope graphml dot sqlite csv)' \
    '(-o --output)'{-o,--output}'[file to write]:file:_files' \
    '--part-rows[at most so many executions in a file]:rows:' \
    '--no-omp[do not look into OpenMP regions]' \
    ':run:_directories'
}

_kzr_record() {
  _arguments \
    '(-h --help)'{-h,--help}'[print a short help]' \
    '--version[print the version]' \
    '(-o --output)'{-o,--output}'[record into this directory]:directory:_directories' \
    '--report[write a page of each recording]' \
    '(-):program:_command_names -e' \
    '*::argument:_normal'
}

_kzr_report() {
  _arguments \
    '(-h --help)'{-h,--help}'[print a short help]' \
    '--version[print the version]' \
    '(-o --output --text --json)'{-o,--output}'[file for the page]:file:_files' \
    '(--text --json)--open[open the page in the browser]' \
    '(--text --json)--max-size[greatest size of the page]:MiB:' \
    '(-o --output --open --max-size --json)--text[print the figures as tables]' \
    '(-o --output --open --max-size --text)--json[print the figures as JSON]' \
    '--from[only what ran at this time or later]:ticks:' \
    '--to[only what ran at this time or earlier]:ticks:' \
    '--no-omp[do not look into OpenMP regions]' \
    ':run:_directories'
}

_kzr_help() {
  _arguments '(-h --help)'{-h,--help}'[print a short help]' ':command:(convert dump export record report help)'
}

if ((CURRENT == 2)); then
  if [[ $PREFIX == -* ]]; then
    _arguments '(-h --help)'{-h,--help}'[print a short help]' '--version[print the version]'
  else
    _describe command commands
  fi
elif (($+functions[_kzr_$words[2]])); then
  # Its words are counted from the command on.
  shift words
  ((CURRENT--))
  "_kzr_$words[1]"
fi
