# bash completion for kzrdump.

_kzrdump() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local kinds='definition api_version domain_createA domain_createW id_create id_destroy metadata metadata_stringA
    metadata_stringW relation string_handle_createA string_handle_createW task_begin task_end task_group
    region_begin region_end'
  COMPREPLY=()
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
complete -F _kzrdump kzrdump
