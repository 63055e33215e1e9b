// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/remoteEnd.h"

#include "environment/process/HUTProcessHandle.h"
#include "environment/process/remoteCall.h"
#include "environment/process/standing.h"

namespace process {

namespace {

/// What the other host does: start of the host and process are compared, the
/// group is asked and then killed. Only numbers and ids are put in front of
/// it.
constexpr const char* kScript = R"script(
[ "$(cat /proc/sys/kernel/random/boot_id)" = "$b" ] || exit 3;
[ -z "$n" ] || [ "$(readlink /proc/self/ns/pid)" = "pid:[$n]" ] || exit 3;
lives() {
  for f in /proc/[0-9]*/stat; do
    { read -r s <"$f"; } 2>/dev/null || continue;
    set -- ${s##*) };
    [ "$3" = "$g" ] || continue;
    case $1 in Z|X) ;; *) return 0 ;; esac;
  done;
  return 1;
};
if { read -r s <"/proc/$p/stat"; } 2>/dev/null; then
  set -- ${s##*) };
  [ "$3" = "$g" ] && [ "${20}" = "$t" ] || exit 4;
else
  if lives; then exit 5; fi;
  exit 0;
fi;
lives || exit 0;
kill -s TERM -- "-$g" || exit 6;
kill -s CONT -- "-$g";
i=0;
while lives; do
  [ $i -lt 30 ] || kill -s KILL -- "-$g";
  i=$((i + 1));
  [ $i -lt 80 ] || exit 7;
  sleep 0.1 || sleep 1;
done;
exit 0)script";

bool holdsOnly(const std::string& text, const char* characters) {
    return text.find_first_not_of(characters) == std::string::npos;
}

/// The whole shell command; empty when the record can't go into it.
std::string scriptFor(const HUTProcessHandle& handle) {
    std::string boot;
    std::string pidNamespace;
    handle.getBootId(boot);
    handle.getPidNamespace(pidNamespace);
    if (handle.getPid() <= 1 || handle.getGroup() <= 1 || handle.getStartTicks() == 0 ||
        boot.empty() || !holdsOnly(boot, "0123456789abcdef-") ||
        !holdsOnly(pidNamespace, "0123456789"))
        return "";
    return remoteWord("p=$1 g=$2 t=$3 b=$4 n=$5;" + std::string(kScript),
                      {std::to_string(handle.getPid()), std::to_string(handle.getGroup()),
                       std::to_string(handle.getStartTicks()), boot, pidNamespace});
}

/// What the script's exit status says; empty for success.
std::string meaning(const RemoteAnswer& answer, const HUTProcessHandle& handle) {
    const std::string end = " Look at it there, and end it by hand.";
    switch (answer.status) {
    case 0:
        return "";
    case 3:
        return "the host was started anew since, or it runs in a container.";
    case 4:
        return "it has ended, and its id was given to another process, which was left alone.";
    case 5:
        return "it has ended, but others of its process group still run, and nothing tells "
               "that they are the run's." +
               end;
    case 6:
        return "the host refused it." + end;
    case 7:
        return "something of process group " + std::to_string(handle.getGroup()) + " still runs." +
               end;
    default:
        return "the command ended with status " + std::to_string(answer.status) + ".";
    }
}

}  // namespace

bool endRemotely(const HUTProcessHandle& handle, const std::string& command, std::string& message) {
    if (!handle.isPartialComplete()) {
        message = whyNotEnded(handle, Standing::kNoRecord);
        return false;
    }
    std::string host;
    handle.getHostname(host);
    const std::string script = scriptFor(handle);
    if (script.empty() || !isHostName(host)) {
        message = whyNotEnded(handle, Standing::kUntold);
        return false;
    }
    const RemoteAnswer answer = callHost(command, host, script, kNoLimit);
    const bool isStarted = answer.end != RemoteAnswer::End::kNotStarted;
    const std::string why = isStarted ? meaning(answer, handle) : answer.output + ".";
    if (why.empty())
        return true;
    const std::string words = isStarted ? answer.lastLine() : "";
    message = "Can't end " + nameOf(handle) + " from here: " + why +
              (words.empty() ? "" : " It said: " + words);
    return false;
}

}  // namespace process
