// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/params/HPAParamMgr.h"

#include <array>
#include <atomic>
#include <cctype>
#include <map>
#include <optional>

#include "environment/errors/HEXDataException.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/readTextFile.h"
#include "environment/params/paramFile.h"
#include "environment/params/paramTable.h"
#include "environment/strings/HSTStringUtils.h"
#include "environment/threads/HCTMutex.h"

namespace {

constexpr std::size_t kSourceCount = 4;

struct BoolWord {
    const char* text;
    bool value;
};

constexpr BoolWord kBoolWords[] = {{"true", true},   {"yes", true}, {"on", true},   {"1", true},
                                   {"false", false}, {"no", false}, {"off", false}, {"0", false}};

struct Param {
    std::string description;
    /// By source.
    std::array<std::optional<bool>, kSourceCount> values;

    /// The first source with a value; kSourceCount when there is none.
    std::size_t strongest() const {
        std::size_t source = 0;
        while (source < kSourceCount && !values[source])
            ++source;
        return source;
    }
};

using ParamMap = std::map<std::string, Param>;

/// A variable whose value isn't one for its parameter.
struct BadVariable {
    std::string variable;
    std::string value;
    std::string param;
};

void sendWarnings(const HSTVector<BadVariable>& variables) {
    for (const BadVariable& bad : variables)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                 "@12-14@%s%s%s", bad.variable, bad.value, bad.param);
}

HEXDataException absent(const std::string& name) {
    return HEXDataException("The parameter " + name +
                            " has no value. Set it in the program, the project, a parameters "
                            "file or the variable " +
                            HPAParamMgr::getVariableName(name) + ".");
}

/// What `source` says for each parameter of a file; what is wrong in it goes
/// out as warnings.
class FileReader {
public:
    FileReader(const HPAParamMgr& mgr, const std::string& path) : m_mgr(mgr), m_path(path) {}

    std::map<std::string, bool> read(const std::string& content) {
        HSTVector<int> malformed;
        const HSTVector<paramFile::Line> lines = paramFile::parse(content, malformed);
        for (const int number : malformed)
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                     "@12-13@%s%d", m_path, number);
        for (const paramFile::Line& line : lines)
            take_(line);
        return m_values;
    }

private:
    void take_(const paramFile::Line& line) {
        bool value = false;
        if (!m_mgr.isKnown(line.name))
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                     "@12-10@%s%d%s", m_path, line.number, line.name);
        else if (!HPAParamMgr::parseBool(line.value, value))
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                     "@12-11@%s%d%s%s", m_path, line.number, line.value, line.name);
        else
            keep_(line, value);
    }

    void keep_(const paramFile::Line& line, bool value) {
        const auto known = m_lines.find(line.name);
        if (known != m_lines.end())
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "environment", ComMsgMgr::kWarning,
                                     "@12-12@%s%d%s%d", m_path, line.number, line.name,
                                     known->second);
        m_lines[line.name] = line.number;
        m_values[line.name] = value;
    }

    const HPAParamMgr& m_mgr;
    const std::string m_path;
    std::map<std::string, bool> m_values;
    std::map<std::string, int> m_lines;
};

}  // namespace

struct HPAParamMgr::Data {
    mutable HCTMutex mutex;
    ParamMap params XP_GUARDED_BY(mutex);

    const Param* find(const std::string& name) const XP_REQUIRES(mutex) {
        const auto entry = params.find(name);
        return entry == params.end() ? nullptr : &entry->second;
    }

    /// The value that holds, if any.
    std::optional<bool> value(const std::string& name) const {
        const HCTLock lock(mutex);
        const Param* param = find(name);
        if (param == nullptr || param->strongest() == kSourceCount)
            return std::nullopt;
        return param->values[param->strongest()];
    }

    void resetAll(Source source) XP_REQUIRES(mutex) {
        for (auto& entry : params)
            entry.second.values[source].reset();
    }

    /// Adds a parameter, if it is new, with its variable; gives that if it is wrong.
    HSTVector<BadVariable> declare(const std::string& name, const std::string& description) {
        const HCTLock lock(mutex);
        HSTVector<BadVariable> bad;
        const auto entry = params.emplace(name, Param{description, {}});
        if (entry.second)
            takeVariable(name, entry.first->second, bad);
        return bad;
    }

    /// Takes the variables over; gives those that can't be.
    HSTVector<BadVariable> takeVariables() {
        const HCTLock lock(mutex);
        HSTVector<BadVariable> bad;
        for (auto& entry : params)
            takeVariable(entry.first, entry.second, bad);
        return bad;
    }

    static void takeVariable(const std::string& name, Param& param, HSTVector<BadVariable>& bad) {
        const std::string variable = getVariableName(name);
        const char* text = HUTEnv::getEnv(variable.c_str());
        bool value = false;
        param.values[kEnvironment].reset();
        if (text == nullptr)
            return;
        if (parseBool(text, value))
            param.values[kEnvironment] = value;
        else
            bad.push_back({variable, text, name});
    }
};

HPAParamMgr* HPAParamMgr::getParamMgr() {
    // Never deleted: destructors at the end of the process still ask.
    static HPAParamMgr* const manager = new HPAParamMgr;
    // Once more, out of the making: a sink that hears of a wrong value may ask
    // for a parameter itself.
    static std::atomic<bool> isRead{false};
    if (!isRead.exchange(true))
        manager->readEnvironment();
    return manager;
}

bool HPAParamMgr::getValueAsBool(const std::string& name) const {
    const std::optional<bool> value = m_data->value(name);
    if (!value)
        throw absent(name);
    return *value;
}

bool HPAParamMgr::getValueIfExistAsBool(const std::string& name, bool defaultValue) const {
    return m_data->value(name).value_or(defaultValue);
}

bool HPAParamMgr::hasValue(const std::string& name) const {
    return m_data->value(name).has_value();
}

bool HPAParamMgr::isKnown(const std::string& name) const {
    const HCTLock lock(m_data->mutex);
    return m_data->find(name) != nullptr;
}

HPAParamMgr::Source HPAParamMgr::getSource(const std::string& name) const {
    const HCTLock lock(m_data->mutex);
    const Param* param = m_data->find(name);
    if (param == nullptr || param->strongest() == kSourceCount)
        throw absent(name);
    return static_cast<Source>(param->strongest());
}

std::string HPAParamMgr::getDescription(const std::string& name) const {
    const HCTLock lock(m_data->mutex);
    const Param* param = m_data->find(name);
    return param == nullptr ? "" : param->description;
}

void HPAParamMgr::getNames(HSTVector<std::string>& names) const {
    const HCTLock lock(m_data->mutex);
    names.clear();
    for (const auto& entry : m_data->params)
        names.push_back(entry.first);
}

void HPAParamMgr::declareParam(const std::string& name, const std::string& description) {
    sendWarnings(m_data->declare(name, description));
}

void HPAParamMgr::setValueAsBool(const std::string& name, bool value, Source source) {
    const HCTLock lock(m_data->mutex);
    const auto entry = m_data->params.find(name);
    if (entry == m_data->params.end())
        throw HEXDataException("There is no parameter " + name + ". Check the spelling.");
    entry->second.values[source] = value;
}

void HPAParamMgr::resetValue(const std::string& name, Source source) {
    const HCTLock lock(m_data->mutex);
    const auto entry = m_data->params.find(name);
    if (entry != m_data->params.end())
        entry->second.values[source].reset();
}

void HPAParamMgr::resetValues(Source source) {
    const HCTLock lock(m_data->mutex);
    m_data->resetAll(source);
}

void HPAParamMgr::readParamFile(const std::string& path) {
    std::string content;
    std::string reason;
    if (!readTextFile(path, content, reason))
        throw HEXFileNotFoundException("The parameters file " + path + " can't be read: " + reason +
                                       ".");
    const std::map<std::string, bool> values = FileReader(*this, path).read(content);
    const HCTLock lock(m_data->mutex);
    m_data->resetAll(kFile);
    for (const auto& entry : values)
        m_data->params[entry.first].values[kFile] = entry.second;
}

void HPAParamMgr::readEnvironment() {
    sendWarnings(m_data->takeVariables());
}

std::string HPAParamMgr::getVariableName(const std::string& name) {
    std::string variable = "XPERIMENT_PARAM_";
    for (const char c : name) {
        const auto code = static_cast<unsigned char>(c);
        variable += std::isalnum(code) != 0 ? static_cast<char>(std::toupper(code)) : '_';
    }
    return variable;
}

bool HPAParamMgr::parseBool(const std::string& text, bool& value) {
    for (const BoolWord& word : kBoolWords) {
        if (!HSTStringUtils::iequals(text, word.text))
            continue;
        value = word.value;
        return true;
    }
    return false;
}

HPAParamMgr::HPAParamMgr() : m_data(std::make_unique<Data>()) {
    for (const paramTable::Row& row : paramTable::kRows)
        m_data->declare(row.name, row.description);
}

HPAParamMgr::~HPAParamMgr() = default;
