set -l kinds definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA \
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group \
    region_begin region_end
complete -c kzrdump -f -a '(__fish_complete_directories)'
complete -c kzrdump -s h -l help -d 'Print a short help'
complete -c kzrdump -l version -d 'Print the version'
complete -c kzrdump -l omp_experimental -d 'Look into OpenMP regions'
complete -c kzrdump -n 'not __fish_seen_argument -l records' -l json -d 'Write the summary as JSON'
complete -c kzrdump -n 'not __fish_seen_argument -l json' -l records -d 'List all records instead of the summary'
complete -c kzrdump -n '__fish_seen_argument -l records' -l kind -x -a "$kinds" -d 'Only records of this kind'
complete -c kzrdump -n '__fish_seen_argument -l records' -l producer -x -d 'Only records of this trace file'
complete -c kzrdump -n '__fish_seen_argument -l records' -l from -x -d 'Only records from this timestamp on'
complete -c kzrdump -n '__fish_seen_argument -l records' -l to -x -d 'Only records up to this timestamp'
