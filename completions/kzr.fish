function __kzr_does -d 'True behind the command, or in front of any when there is none'
    set -l words (commandline -opc)
    test "$words[2]" = "$argv[1]"
end

set -l kinds definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA \
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group \
    region_begin region_end end_of_records
complete -c kzr -f
complete -c kzr -s h -l help -d 'Print a short help'
complete -c kzr -l version -d 'Print the version'
complete -c kzr -n __kzr_does -a convert -d 'Convert a run to GraphML and TraceML'
complete -c kzr -n __kzr_does -a dump -d 'Tell what is in a run, and what about it is damaged or odd'
complete -c kzr -n __kzr_does -a export -d 'Write a run as one of the forms that other tools open'
complete -c kzr -n __kzr_does -a record -d 'Run a program and record what it does with OpenMP'
complete -c kzr -n __kzr_does -a report -d 'Show a run as a page, and where its time went'
complete -c kzr -n __kzr_does -a help -d 'Show help, or that of a command'

complete -c kzr -n '__kzr_does convert' -a '(__fish_complete_directories)'
complete -c kzr -n '__kzr_does convert' -s o -l output -x -a '(__fish_complete_directories)' \
    -d 'Directory for the outputs'
complete -c kzr -n '__kzr_does convert' -l name -x -d 'Base name of the outputs'
complete -c kzr -n '__kzr_does convert' -l omp_experimental -d 'Write the insides of OpenMP regions too'

complete -c kzr -n '__kzr_does dump' -a '(__fish_complete_directories)'
complete -c kzr -n '__kzr_does dump' -l omp_experimental -d 'Look into OpenMP regions'
complete -c kzr -n '__kzr_does dump; and not __fish_seen_argument -l records' -l json -d 'Write the summary as JSON'
complete -c kzr -n '__kzr_does dump; and not __fish_seen_argument -l json' -l records \
    -d 'List all records instead of the summary'
complete -c kzr -n '__kzr_does dump; and __fish_seen_argument -l records' -l kind -x -a "$kinds" \
    -d 'Only records of this kind'
complete -c kzr -n '__kzr_does dump; and __fish_seen_argument -l records' -l producer -x \
    -d 'Only records of this trace file'
complete -c kzr -n '__kzr_does dump; and __fish_seen_argument -l records' -l from -x \
    -d 'Only records from this timestamp on'
complete -c kzr -n '__kzr_does dump; and __fish_seen_argument -l records' -l to -x \
    -d 'Only records up to this timestamp'

complete -c kzr -n '__kzr_does export' -a '(__fish_complete_directories)'
complete -c kzr -n '__kzr_does export' -l to -x -a 'perfetto speedscope graphml dot sqlite csv' -d 'The format'
complete -c kzr -n '__kzr_does export' -s o -l output -r -F -d 'File to write'
complete -c kzr -n '__kzr_does export' -l part-rows -x -d 'At most so many executions in a file'
complete -c kzr -n '__kzr_does export' -l no-omp -d 'Do not look into OpenMP regions'

complete -c kzr -n '__kzr_does help' -a 'convert dump export record report help'

complete -c kzr -n '__kzr_does report' -a '(__fish_complete_directories)'
complete -c kzr -n '__kzr_does report' -s o -l output -r -F -d 'File for the page'
complete -c kzr -n '__kzr_does report' -l open -d 'Open the page in the browser'
complete -c kzr -n '__kzr_does report' -l max-size -x -d 'Greatest size of the page, in MiB'
complete -c kzr -n '__kzr_does report; and not __fish_seen_argument -l json' -l text -d 'Print the figures as tables'
complete -c kzr -n '__kzr_does report; and not __fish_seen_argument -l text' -l json -d 'Print the figures as JSON'
complete -c kzr -n '__kzr_does report' -l from -x -d 'Only what ran at this time or later'
complete -c kzr -n '__kzr_does report' -l to -x -d 'Only what ran at this time or earlier'
complete -c kzr -n '__kzr_does report' -l no-omp -d 'Do not look into OpenMP regions'

complete -c kzr -n '__kzr_does record' -s o -l output -x -a '(__fish_complete_directories)' \
    -d 'Record into this directory'
complete -c kzr -n '__kzr_does record' -l report -d 'Write a page of each recording'
complete -c kzr -n '__kzr_does record' -x -a '(__fish_complete_subcommand --fcs-skip=2)'
