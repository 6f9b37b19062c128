# bash completion for kzr2xml: a name and the option in either order, or a directory, a name and a number.

_kzr2xml() {
  local current=${COMP_WORDS[COMP_CWORD]}
  COMPREPLY=()
  case $COMP_CWORD in
    1)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W --omp_experimental -- "$current")
      else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
      fi
      ;;
    2)
      [[ ${COMP_WORDS[1]} == --omp_experimental ]] ||
        mapfile -t COMPREPLY < <(compgen -W --omp_experimental -- "$current")
      ;;
    3) mapfile -t COMPREPLY < <(compgen -W '0 1' -- "$current") ;;
  esac
}
complete -F _kzr2xml kzr2xml
