#compdef kzrdump

local -a kinds
kinds=(definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA
  metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group
  region_begin region_end)
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
