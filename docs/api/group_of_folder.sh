#!/usr/bin/env bash
# usage: group_of_folder.sh FILE
#
# Prints a header for Doxygen: what it declares belongs to the group that is named after its folder. What is in
# one of the main namespaces is a member of the group itself; any other namespace is a member as a whole. No
# line gets another number.
set -euo pipefail
case $1 in
  */include/dp_common/*/*) ;;
  *)
    cat "$1"
    exit
    ;;
esac
group=${1#*/include/dp_common/}
awk -v group="${group%%/*}" '
  { line[NR] = $0 }
  # A namespace with nothing but forward declarations does not count.
  /^}$/ { if (is_forward) opened = 0 }
  /^./ && !/^(class|struct) [a-z_]*;$/ { is_forward = 0 }
  /^namespace (dp|dp_service|dp_platform|fm|sysipc) {$/ && !first { opened = NR; is_forward = 1 }
  /^}  \/\/ namespace/ { if (opened && !first) first = opened; last = NR }
  /^(class|struct) .*{$/ && !opened && !first { is_global = 1 }
  END {
    begin = "/** @begin_group{" group "} */"
    end = "/** @} */"
    # Main namespaces have nothing else around them.
    is_inside = first && !is_global
    for (n = 1; n <= NR; ++n) {
      if (is_inside && n == first) print line[n] " " begin
      else if (is_inside && n == last) print end " " line[n]
      else if (!is_inside && !is_begun && line[n] == "") { print begin; is_begun = 1 }
      else print line[n]
    }
    if (!is_inside) print end
  }' "$1"
