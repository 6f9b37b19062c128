#compdef kzr2xml
# A name and the option in either order, or a directory, a name and a number.

case $CURRENT in
  2) _alternative 'option:option:((--omp_experimental\:"write the insides of OpenMP regions"))' \
       'directory:directory of the trace files:_directories' \
       'name:base name of the outputs:' ;;
  3) if [[ $words[2] != --omp_experimental ]]; then
       _alternative 'option:option:((--omp_experimental\:"write the insides of OpenMP regions"))' \
         'name:base name of the outputs:'
     else
       _message 'base name of the outputs'
     fi ;;
  4) _values 'OpenMP regions' '0[as one node]' '1[with their insides]' ;;
esac
