// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

/// What is known of a process that a run started, on this host or another:
/// who it is, when its step started and ended, and how often its record was
/// looked for.
///
/// A pid alone says little: it comes again on another host, after a restart
/// and, in time, on the same host. So a handle knows the process by host,
/// start of the host, pid namespace, pid and start time, and signals nothing
/// in which one of them differs.
class ENVIRONMENT_API HUTProcessHandle {
public:
    /// What can be said of the process from here.
    enum class Life {
        kUnknown,  ///< the record says too little, or belongs to another host
        kEarlier,  ///< from before this host last started, unless two hosts
                   ///< have one name
        kGone,     ///< ended, or its pid is another process's by now
        kAlive,
    };

    HUTProcessHandle();

    /// Forgets everything, the number of attempts and both stamps included.
    void reset();

    /// Forgets the record and keeps attempts and stamps.
    void clearRecord();

    /// Takes the record of another handle over, and keeps attempts and stamps.
    void takeRecord(const HUTProcessHandle& other);

    /// Whether the whole record was read. Says nothing about whether the
    /// process has ended.
    bool isComplete() const { return m_complete; }
    void setComplete(bool complete) { m_complete = complete; }

    /// Whether host and pid are known.
    bool isPartialComplete() const;

    /// How often a record was looked for since reset().
    int parseAttemptsCount() const { return m_attempts; }
    void countParseAttempt() { ++m_attempts; }

    /// Start and end of the step, in seconds since the epoch, 0 when unknown:
    /// the times of its markers, kept here for those who show them.
    void setStartStamp(long seconds) { m_startStamp = seconds; }
    void setEndStamp(long seconds) { m_endStamp = seconds; }
    long getStartStamp() const { return m_startStamp; }
    long getEndStamp() const { return m_endStamp; }

    void getHostname(std::string& host) const { host = m_host; }
    void setHostname(const std::string& host) { m_host = host; }
    void getUser(std::string& user) const { user = m_user; }
    void setUser(const std::string& user) { m_user = user; }
    /// The command, for people.
    void getCommand(std::string& command) const { command = m_command; }
    void setCommand(const std::string& command) { m_command = command; }

    /// The number of the user; -1 when unknown.
    long getUid() const { return m_uid; }
    void setUid(long uid) { m_uid = uid; }

    /// 0 when unknown, as are group, start ticks and start time.
    long getPid() const { return m_pid; }
    void setPid(long pid) { m_pid = pid; }
    /// The process group that ends with the process.
    long getGroup() const { return m_group; }
    void setGroup(long group) { m_group = group; }
    /// When the process started, in clock ticks since its host started: the
    /// number that the host's process table shows.
    unsigned long long getStartTicks() const { return m_startTicks; }
    void setStartTicks(unsigned long long ticks) { m_startTicks = ticks; }
    /// When the process started, in seconds since the epoch; for people.
    long getStartTime() const { return m_startTime; }
    void setStartTime(long seconds) { m_startTime = seconds; }

    /// What tells one start of a host, and one pid namespace, from another;
    /// empty when unknown.
    void getBootId(std::string& id) const { id = m_bootId; }
    void setBootId(const std::string& id) { m_bootId = id; }
    void getPidNamespace(std::string& id) const { id = m_pidNamespace; }
    void setPidNamespace(const std::string& id) { m_pidNamespace = id; }

    /// The launch of the run that the process belongs to; empty when none is told.
    void getLaunch(std::string& id) const { id = m_launch; }
    void setLaunch(const std::string& id) { m_launch = id; }

    /// The folder that the record was found in. Processes that outlive the
    /// first of their group are known by working in it.
    void getFolder(std::string& path) const { path = m_folder; }
    void setFolder(const std::string& path) { m_folder = path; }

    /// Looks whether the process lives. A process that ended and waits for its
    /// parent to notice isn't alive.
    Life look() const;

    /// Ends the process and its whole group: asks first, and kills after a
    /// few seconds what didn't listen. With `wait` true returns when nothing of it is
    /// left, which may take up to eight seconds; without, sends the request only.
    ///
    /// True when that worked, and when all of it was gone already. False, with
    /// `message` saying why and no signal sent, for an empty record, one of
    /// another host, start of the host or pid namespace, one without start
    /// ticks or boot id, and a process of other start ticks, user or group: its
    /// pid was given to someone else. False too when something survives, and
    /// when the process is gone but its group holds others that can't be told
    /// to be the run's; `message` then names them.
    bool killProcess(std::string& message, bool wait) const;

    /// The same on the host of the record, through the remote command; waits.
    /// False with a message also when the command fails.
    bool killRemoteProcess(std::string& message) const;

    /// The command that runs another on a host; it gets the host and one word
    /// with a shell command. At first "ssh" with switches that keep it from
    /// asking questions. Set it at start, before other threads kill.
    static void setRemoteCommand(const std::string& line);
    static const std::string& getRemoteCommand();

private:
    std::string m_host;
    std::string m_user;
    std::string m_command;
    std::string m_bootId;
    std::string m_pidNamespace;
    std::string m_launch;
    std::string m_folder;
    long m_uid = -1;
    long m_pid = 0;
    long m_group = 0;
    unsigned long long m_startTicks = 0;
    long m_startTime = 0;
    long m_startStamp = 0;
    long m_endStamp = 0;
    int m_attempts = 0;
    bool m_complete = false;
};
