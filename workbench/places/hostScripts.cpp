// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/hostScripts.h"

namespace workbench {

namespace {

/// Who answers: host, start of the host, pid namespace.
constexpr char kHead[] = R"script(
unset XPERIMENT_LAUNCH;
d=$1; i=$2;
say() { printf "%s\n" "xp:$i $*"; };
{ read -r h </proc/sys/kernel/hostname; } 2>/dev/null || h=$(uname -n);
{ read -r b </proc/sys/kernel/random/boot_id; } 2>/dev/null || b=-;
n=$(readlink /proc/self/ns/pid 2>/dev/null); n=${n#"pid:["}; n=${n%"]"}; n=${n:--};
)script";

/// Whether the folder is the one that the launch was made in; $1 are the pauses between
/// the looks at its lease, the last one 0.
constexpr char kIsSame[] = R"script(
same() {
  for w in $1; do
    if grep -qF "$i" .launch.xml 2>/dev/null; then return 0; fi;
    [ "$w" = 0 ] || sleep "$w";
  done;
  return 1;
};
)script";

/// A file system between hosts may show the lease a moment late.
///
/// The claim comes before the last look at the lease: a launcher that gave up took the
/// lease away before it looked for the claim, so that one of the two hears of the other.
/// The script has no terminal and no connection, but all that a run here has.
constexpr char kStart[] = R"script(
cd -- "$d" 2>/dev/null || { say start directory; exit 0; };
same "1 1 0" || { say start lease; exit 0; };
[ -f runme.sh ] && [ -x runme.sh ] || { say start script; exit 0; };
s=setsid; command -v setsid >/dev/null 2>&1 || s=nohup;
r=$(XPERIMENT_LAUNCH=$i $s sh -c "
  t=.launch.host.\$\$;
  printf \"%s\n\" \"\$1 \$\$ \$3 \$4 \$5\" >\"\$t\" && mv -f \"\$t\" .launch.host || exit 1;
  grep -qF \"\$1\" .launch.xml 2>/dev/null || { echo the launch was taken back; exit 1; };
  (trap \"\" PIPE; printf \"%s\n\" \"xp:\$1 start began \$\$ \$3 \$4 \$5\") 2>/dev/null;
  exec \"\$2/runme.sh\" >/dev/null 2>&1
" xp "$i" "$d" "$h" "$b" "$n" </dev/null 2>&1 &);
case $r in
  "xp:$i start began "*|*" xp:$i start began "*) printf "%s\n" "$r" ;;
  *) set -f; say start other $r ;;
esac;
exit 0
)script";

/// Sets l to the processes of the launch: those that carry its identity, and those that
/// hold the run's lock open for writing, as the run's script opened it. Sets k to the
/// state of the lock and v to whether the host can look at processes. In a folder that is
/// another launch's nobody looks: $PWD is / then.
constexpr char kFind[] = R"script(
carries() { grep -qzxF "XPERIMENT_LAUNCH=$i" "/proc/$1/environ" 2>/dev/null; };
holds() {
  for f in $(find -L "/proc/$1/fd" -maxdepth 1 -samefile .run.lock 2>/dev/null); do
    while read -r x y; do
      case $x$y in flags:*1) return 0 ;; esac;
    done <"/proc/$1/fdinfo/${f##*/}";
  done 2>/dev/null;
  return 1;
};
ours() { [ "$1" -gt 1 ] && [ "$1" != $$ ] && { carries "$1" || holds "$1"; }; };
look() {
  l=;
  v=unseen;
  if printf x | grep -qzxF x 2>/dev/null && [ -r /proc/self/environ ]; then v=seen; fi;
  for e in $(grep -lzxF "XPERIMENT_LAUNCH=$i" /proc/[0-9]*/environ 2>/dev/null)
    $([ ! -e .run.lock ] || find -L /proc/[0-9]*/fd -maxdepth 1 -samefile .run.lock 2>/dev/null);
  do
    p=${e#/proc/}; p=${p%%/*};
    case " $l " in *" $p "*) continue ;; esac;
    if ours "$p"; then l="$l $p"; fi;
  done;
  k=none; [ -e .run.lock ] || return 0;
  k=untold; command -v flock >/dev/null 2>&1 || return 0;
  q=2; { flock -n -s 8; q=$?; } 2>/dev/null 8<.run.lock;
  case $q in 0) k=free ;; 1) k=held ;; esac;
};
)script";

constexpr char kLook[] = R"script(
m=other;
if cd -- "$d" 2>/dev/null && same 0; then m=same; else cd /; fi;
look;
say look "$h" "$b" "$n" $m $k $v $l;
exit 0
)script";

/// Who comes up behind the request, such as a wrapper's last rename, may end by itself:
/// it is asked when it is still there two looks later.
constexpr char kStop[] = R"script(
m=other;
if cd -- "$d" 2>/dev/null && same 0; then m=same; : >.stop.rst; else cd /; fi;
a=" "; z=" "; c=0; g=0; o=; u=; w=0;
while :; do
  look;
  [ -n "$l" ] || [ $k = held ] || break;
  [ $w -lt 80 ] || break;
  for p in $l; do
    if [ $w -ge 30 ]; then
      if ours "$p" && kill -s KILL "$p" 2>/dev/null; then
        case $z in *" $p "*) ;; *) z="$z$p "; g=$((g + 1)) ;; esac;
      fi;
      continue;
    fi;
    case $a in *" $p "*) continue ;; esac;
    case "$w $o " in "0 "*|*" $p "*) ;; *) continue ;; esac;
    if ours "$p" && kill -s TERM "$p" 2>/dev/null; then
      kill -s CONT "$p" 2>/dev/null; a="$a$p "; c=$((c + 1));
    fi;
  done;
  o=$u; u=$l;
  if sleep 0.1 2>/dev/null; then w=$((w + 1)); else sleep 1; w=$((w + 10)); fi;
done;
say stop "$h" "$b" "$n" $m $k $v $c $g $l;
exit 0
)script";

}  // namespace

const std::string& hostStartScript() {
    static const std::string script = std::string(kHead) + kIsSame + kStart;
    return script;
}

const std::string& hostLookScript() {
    static const std::string script = std::string(kHead) + kIsSame + kFind + kLook;
    return script;
}

const std::string& hostStopScript() {
    static const std::string script = std::string(kHead) + kIsSame + kFind + kStop;
    return script;
}

}  // namespace workbench
