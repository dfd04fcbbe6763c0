#include "sift/shell/MapArguments.h"

#include "sift/shell/Command.h"
#include "sift/shell/CommandMessages.h"

namespace hdl {

void PairArgument::noPairing(const std::string& word) const {
    command->Tell<cmd_msg::NoPairing>(command->name.c_str(), word.c_str());
}

int PairArgument::Parse(int& index, int argc, const char* const* argv) {
    if (!stepToValue(index, argc)) return 0;
    const std::string word = argv[index];
    const char* next = index + 1 < argc && !isBlankWord(argv[index + 1]) ? argv[index + 1] : nullptr;
    StringArray elements;
    if (!splitTclList(word, elements)) return 0;
    if (!word.empty() && word[0] == '-') {
        noPairing(word);
        return 0;
    }
    // A word that is already a list of several elements stands alone; so does one
    // followed by an option of the command.
    if (!next || elements.size() > 1) return setAlone(word, elements);
    if (next[0] == '-' && command->Find(next + 1)) return setAlone(word, elements);
    // The value of a plain map is the word itself; it only has to be a list when it
    // looks like an option or the map holds lists.
    const bool dashed = next[0] == '-';
    StringArray value;
    if (!splitTclList(next, value) && (dashed || IsMapOfArray())) {
        command->Tell<cmd_msg::MapUnparsable>(command->name.c_str(), next);
        return 0;
    }
    ++index;
    const std::string key = dashed && !elements.empty() ? elements[0] : word;
    return setWord(key, next, value);
}

int PairArgument::setAlone(const std::string& word, const StringArray& elements) {
    bool listOfPairs = !elements.empty();
    std::vector<StringArray> pairs;
    for (const std::string& element : elements) {
        StringArray pair;
        if (!splitTclList(element, pair) || pair.size() < 2) {
            listOfPairs = false;
            break;
        }
        pairs.push_back(std::move(pair));
    }
    if (!listOfPairs) {
        int result = setElements(elements);
        if (result < 0) noPairing(word);
        return result > 0;
    }
    for (size_t i = 0; i < pairs.size(); ++i) {
        int result = setElements(pairs[i]);
        if (result < 0) noPairing(elements[i]);
        if (result <= 0) return 0;
    }
    return 1;
}

namespace {
template <typename Value>
bool insertOrReplace(std::vector<std::pair<std::string, Value>>& values, const std::string& key, const Value& value,
                     Value& old) {
    for (auto& entry : values) {
        if (entry.first == key) {
            old = entry.second;
            entry.second = value;
            return false;
        }
    }
    values.emplace_back(key, value);
    return true;
}

std::string joined(const StringArray& words) {
    std::string text;
    for (const std::string& w : words) text += (text.empty() ? "" : " ") + w;
    return text;
}
} // namespace

MapArg::MapArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup, bool isRepeatable)
    : PairArgument(argName, helpText, isOptional, argGroup, isRepeatable) {}

int MapArg::SetValue(const std::string& key, const std::string& value) {
    if (!isSet) values.clear();
    if (!markSet()) return 0;
    std::string old;
    if (!insertOrReplace(values, key, value, old)) {
        command->Tell<cmd_msg::Overwriting>(command->name.c_str(), name.c_str(), old.c_str());
    }
    return 1;
}

int MapArg::setElements(const StringArray& elements) {
    if (elements.size() != 2) return -1;
    return SetValue(elements[0], elements[1]);
}

int MapArg::setWord(const std::string& key, const std::string& word, const StringArray&) { return SetValue(key, word); }

MapOfArrayArg::MapOfArrayArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup,
                             bool isRepeatable)
    : PairArgument(argName, helpText, isOptional, argGroup, isRepeatable) {}

int MapOfArrayArg::SetValue(const std::string& key, const StringArray& value) {
    if (!isSet) values.clear();
    if (!markSet()) return 0;
    StringArray old;
    if (!insertOrReplace(values, key, value, old)) {
        command->Tell<cmd_msg::Overwriting>(command->name.c_str(), name.c_str(), joined(old).c_str());
    }
    return 1;
}

int MapOfArrayArg::setElements(const StringArray& elements) {
    if (elements.size() < 2) return -1;
    return SetValue(elements[0], StringArray(elements.begin() + 1, elements.end()));
}

int MapOfArrayArg::setWord(const std::string& key, const std::string&, const StringArray& split) {
    return SetValue(key, split);
}

} // namespace hdl
