// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/threads/HCTMutex.h"
#include "environment/threads/threadAnnotations.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class HAXPExpRunBase;
class HAXPStatSpec;

/// One statistic of a run: a value that a concrete class computes from the run.
///
/// Only the field of the spec's type is ever set. The spec isn't owned and
/// outlives the statistic. Values are read and written under a lock of their own,
/// so that one thread may update while others read.
class RUNS_API HAXPStat {
public:
    virtual ~HAXPStat();

    HAXPStat& operator=(const HAXPStat&) = delete;

    /// Whether the value tells of an error in the run. Answers false here.
    virtual bool isError() const;

    HAXPStatSpec* getStatSpec() const { return m_spec; }

    /// Whether the statistic doesn't apply to its run. A plain flag, without lock.
    bool isNA() const { return m_isNA; }
    void setIsNA(bool isNA) { m_isNA = isNA; }

    /// Whether the last update could compute the value.
    bool isAvailable() const XP_EXCLUDES(m_mutex);

    /// A new statistic of the same class and spec, without a value. The caller
    /// deletes it.
    HAXPStat* clone() const;

    /// Computes the value anew from `run`, the lock held meanwhile. What can't be
    /// computed reads 0 or empty and isn't available.
    /// @throws HEXAlgException "unknown stat type": the spec has none of the types.
    /// That, and what a hook throws, leaves the statistic as it was.
    void updateStat(HAXPExpRunBase* run) XP_EXCLUDES(m_mutex);

    /// Forgets the value; isNA() stays.
    void resetStat() XP_EXCLUDES(m_mutex);

    /// @throws HEXAlgException "StatType mismatch": the spec has another type.
    void checkType(HAXPTypes::StatType type) const;

    /// The value, 0 or empty if there is none. Stamps and times are in seconds.
    /// @throws HEXAlgException "StatType mismatch": the spec has another type.
    long getLongVal() const XP_EXCLUDES(m_mutex);
    double getDoubleVal() const XP_EXCLUDES(m_mutex);
    void getStringVal(std::string& value) const XP_EXCLUDES(m_mutex);
    long getDTStampVal() const XP_EXCLUDES(m_mutex);
    long getTimeVal() const XP_EXCLUDES(m_mutex);

protected:
    explicit HAXPStat(HAXPStatSpec* spec);

    /// Takes the spec and starts without a value.
    HAXPStat(const HAXPStat& other);

    /// Hook of clone(): a new object of the concrete class.
    virtual HAXPStat* clone_() const = 0;

    /// Hooks of updateStat(): the one of the spec's type is called once an update,
    /// the statistic's lock held. They answer false here, as if nothing could be
    /// computed. An override writes `value` and answers true, or answers false; it
    /// reads no value of this statistic and takes no lock that a reader of it holds.
    virtual bool updLong_(long& value, HAXPExpRunBase* run);
    virtual bool updDouble_(double& value, HAXPExpRunBase* run);
    virtual bool updString_(std::string& value, HAXPExpRunBase* run);
    virtual bool updDTStamp_(long& value, HAXPExpRunBase* run);
    virtual bool updTime_(long& value, HAXPExpRunBase* run);

private:
    template <class T> using Update = bool (HAXPStat::*)(T& value, HAXPExpRunBase* run);

    template <class T>
    void update_(T& field, Update<T> update, HAXPExpRunBase* run) XP_REQUIRES(m_mutex);

    HAXPStatSpec* m_spec;
    mutable HCTMutex m_mutex;
    long m_longVal XP_GUARDED_BY(m_mutex) = 0;
    long m_dtStampVal XP_GUARDED_BY(m_mutex) = 0;
    long m_timeVal XP_GUARDED_BY(m_mutex) = 0;
    double m_doubleVal XP_GUARDED_BY(m_mutex) = 0;
    std::string m_stringVal XP_GUARDED_BY(m_mutex);
    bool m_available XP_GUARDED_BY(m_mutex) = false;
    bool m_isNA = false;
};
