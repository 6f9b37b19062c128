# bash completion for kzr: a command, then what a function with its name completes.

_kzr_dump() {
  local kinds='definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group
    region_begin region_end'
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

_kzr_help() {
  ((COMP_CWORD > 2)) || mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
}

_kzr() {
  local current=${COMP_WORDS[COMP_CWORD]} commands='dump help'
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
  elif [[ " $commands " == *" ${COMP_WORDS[1]} "* ]]; then
    "_kzr_${COMP_WORDS[1]}"
  fi
}
complete -F _kzr kzr
