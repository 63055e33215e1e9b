// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Each script hands the words up to the cursor to "xp __complete" and shows what it answers.
#include <map>
#include <vector>

#include <fmt/format.h>

#include "shell/completion.h"
#include "shell/exitStatus.h"
#include "shell/suggestion.h"

namespace shell {

namespace {

/// Names with blanks are quoted; of a word with '=' bash replaces only what stands behind it.
const char kBash[] =
    R"script(# Completion of xp for bash. Put into ~/.bashrc: source <(xp completion bash)
_xp() {
  local cur=${COMP_WORDS[COMP_CWORD]} kind= name= word= before=
  COMPREPLY=()
  # What is typed of a quoted name, as a plain word.
  local -a words=("${COMP_WORDS[@]:1:COMP_CWORD}")
  local last=$((${#words[@]} - 1))
  [[ ${words[last]} != [\'\"]* ]] || words[last]=${words[last]:1}
  words[last]=${words[last]//\\/}
  word=${words[last]}
  if [[ $cur == '=' ]]; then
    cur= word=
    before='*='
  elif ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[COMP_CWORD-1]} == '=' ]]; then
    before='*='
  fi
  {
    IFS= read -r kind
    while IFS=$'\t' read -r name _; do
      # shellcheck disable=SC2295  # a pattern
      [[ -z $before ]] || name=${name#$before}
      [[ $name == "$word"* ]] || continue
      if [[ ${COMP_WORDS[COMP_CWORD]} == [\'\"]* ]]; then
        COMPREPLY+=("$name")
      elif [[ $name == *' '* ]]; then
        COMPREPLY+=("$(printf '%q' "$name")")
      else
        COMPREPLY+=("$name")
      fi
    done
  } < <("${COMP_WORDS[0]}" __complete "${words[@]}" 2>/dev/null)
  case $kind in
    files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    folders) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
  esac
  [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace
}
complete -F _xp xp
)script";

const char kZsh[] = R"script(#compdef xp
# Completion of xp for zsh. Put into ~/.zshrc behind compinit: source <(xp completion zsh)
_xp() {
  local -a lines candidates bare
  local line name
  lines=("${(@f)$("${words[1]}" __complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
  case $lines[1] in
    files) _files; return ;;
    folders) _files -/; return ;;
  esac
  for line in "${(@)lines[2,-1]}"; do
    name=${line%%$'\t'*}
    if [[ $name == *= ]]; then
      bare+=("$name")
    else
      # A colon in a name would end it.
      candidates+=("${name//:/\\:}:${line#*$'\t'}")
    fi
  done
  (( ! $#bare )) || compadd -S '' -- "${bare[@]}"
  (( ! $#candidates )) || _describe -V xp candidates
}
if [ "$funcstack[1]" = _xp ]; then
  _xp "$@"
else
  compdef _xp xp
fi
)script";

const char kFish[] =
    R"script(# Completion of xp for fish. Put into ~/.config/fish/config.fish: xp completion fish | source
function __xp_complete
    set -l words (commandline -opc) (commandline -ct)
    set -l lines ($words[1] __complete $words[2..-1] 2>/dev/null)
    switch "$lines[1]"
        case files
            __fish_complete_path (commandline -ct)
        case folders
            __fish_complete_directories (commandline -ct) ''
        case '*'
            printf '%s\n' $lines[2..-1]
    end
end
complete -c xp -f -a '(__xp_complete)'
)script";

}  // namespace

std::string completionScript(const std::string& shellName) {
    static const std::map<std::string, const char*> scripts{
        {"bash", kBash}, {"zsh", kZsh}, {"fish", kFish}};
    const auto found = scripts.find(shellName);
    if (found != scripts.end())
        return found->second;
    throw CommandError(
        kExitUsage,
        fmt::format("There is no completion for the shell '{}'. {}", shellName,
                    hintFor(shellName, {"bash", "zsh", "fish"}, "Choose bash, zsh or fish.")));
}

}  // namespace shell
