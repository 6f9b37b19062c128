# bash completion for kzr: a command, then what a function with its name completes.

_kzr_convert() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --name) ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version --omp_experimental --name --output' -- "$current")
      else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
      fi
      ;;
  esac
}

_kzr_dump() {
  local kinds='definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group
    region_begin region_end end_of_records'
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --kind) mapfile -t COMPREPLY < <(compgen -W "$kinds" -- "$current") ;;
    --producer | --from | --to) ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version --omp_experimental --json --records --kind --producer
          --from --to' -- "$current")
      else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
      fi
      ;;
  esac
}

_kzr_export() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --to) mapfile -t COMPREPLY < <(compgen -W 'perfetto speedscope graphml dot sqlite csv' -- "$current") ;;
    -o | --output)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      ;;
    --part-rows) ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version --to --output --part-rows --no-omp' -- "$current")
      else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
      fi
      ;;
  esac
}

_kzr_record() {
  # Behind the program's name it is the program's own completion that counts.
  local word=2
  while ((word < COMP_CWORD)) && [[ ${COMP_WORDS[word]} == -* ]]; do
    [[ ${COMP_WORDS[word]} == -o || ${COMP_WORDS[word]} == --output ]] && ((++word))
    ((++word))
  done
  if ((word > COMP_CWORD)); then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
  elif ((word < COMP_CWORD)) && declare -F _command_offset >/dev/null; then
    _command_offset "$word"
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--help --version --output --report' -- "$current")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -c -f -- "$current")
  fi
}

_kzr_report() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --from | --to | --max-size) ;;
    -o | --output)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version --output --open --max-size --text --json --from --to
          --no-omp' -- "$current")
      else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
      fi
      ;;
  esac
}

_kzr_help() {
  ((COMP_CWORD > 2)) || mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
}

_kzr() {
  local current=${COMP_WORDS[COMP_CWORD]} commands='convert dump export record report help'
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
  elif [[ " $commands " == *" ${COMP_WORDS[1]} "* ]]; then
    "_kzr_${COMP_WORDS[1]}"
  fi
}
complete -F _kzr kzr
