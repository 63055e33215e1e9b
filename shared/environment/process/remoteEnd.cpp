// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/remoteEnd.h"

#include <algorithm>

#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/files/HUTFileUtils.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/standing.h"

namespace process {

namespace {

/// What the other host does: start of the host and process are compared, the
/// group is asked and then killed. Only numbers and ids are put in front of
/// it, and it holds no single quote. Its lines become one, with blanks between
/// them: some users' shells take no line end within quotes.
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

std::string inOneLine(std::string script) {
    std::replace(script.begin(), script.end(), '\n', ' ');
    return script;
}

bool holdsOnly(const std::string& text, const char* characters) {
    return text.find_first_not_of(characters) == std::string::npos;
}

/// Whether `host` can be a word of a command without being taken for a switch.
bool isHostName(const std::string& host) {
    return host.front() != '-' &&
           holdsOnly(host, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-");
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
    return "exec sh -c 'p=" + std::to_string(handle.getPid()) +
           " g=" + std::to_string(handle.getGroup()) +
           " t=" + std::to_string(handle.getStartTicks()) + " b=" + boot + " n=" + pidNamespace +
           ";" + inOneLine(kScript) + "'";
}

/// A file of its own for what a command says; goes with the object.
class Output {
public:
    Output() : m_path((boost::filesystem::temp_directory_path() / "xp-remote-XXXXXX").string()) {
        const int fd = ::mkstemp(&m_path[0]);
        if (fd >= 0)
            ::close(fd);
        else
            m_path.clear();
    }
    ~Output() {
        if (!m_path.empty())
            ::unlink(m_path.c_str());
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    const std::string& path() const { return m_path; }

    /// The last line of it.
    std::string lastLine() const {
        constexpr std::size_t kMost = 65536;
        std::string text;
        HUTFileUtils::readFile(m_path, kMost, text);
        text.resize(text.find_last_not_of(" \t\r\n") + 1);
        return text.substr(text.rfind('\n') + 1);
    }

private:
    std::string m_path;
};

/// What the script's exit status says; empty for success.
std::string meaning(int status, const HUTProcessHandle& handle) {
    const std::string end = " Look at it there, and end it by hand.";
    switch (status) {
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
        return "the command ended with status " + std::to_string(status) + ".";
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
    const Output output;
    HUTFork fork;
    fork.setCmdLine(command, true);
    fork.addArg(host);
    fork.addArg(script);
    fork.setOutputFile(output.path(), false);
    const int status = fork.launch(true, false, true, true);
    const std::string why = status < 0 ? fork.getError() + "." : meaning(status, handle);
    if (why.empty())
        return true;
    const std::string words = output.lastLine();
    message = "Can't end " + nameOf(handle) + " from here: " + why +
              (words.empty() ? "" : " It said: " + words);
    return false;
}

}  // namespace process
