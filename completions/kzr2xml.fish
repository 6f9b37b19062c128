# A name and the option in either order, or a directory, a name and a number.
complete -c kzr2xml -f
complete -c kzr2xml -n 'not __fish_seen_argument -l omp_experimental; and test (count (commandline -opc)) -le 2' \
    -l omp_experimental -d 'Write the insides of OpenMP regions'
complete -c kzr2xml -n 'test (count (commandline -opc)) -eq 1' -a '(__fish_complete_directories)'
complete -c kzr2xml -n 'test (count (commandline -opc)) -eq 3' -a '0 1' -d 'Without, or with, the insides of OpenMP regions'
