#include "vel/apps/local/velctl/completion/scripts.h"

namespace velctl {
namespace {

struct Script {
  const char* shell;
  const char* text;
};

// Names come from the service: no script evaluates one.
constexpr Script kScripts[] = {
    {"bash", R"(# Completion of velctl for bash: candidates come from velctl itself.
_velctl() {
  local line
  COMPREPLY=()
  while IFS= read -r line; do
    if [[ -n $line ]]; then
      COMPREPLY+=("$line")
    else
      compopt -o default 2>/dev/null
    fi
  done < <(velctl __complete-line "${COMP_LINE:0:COMP_POINT}" "$COMP_WORDBREAKS" 2>/dev/null)
}
complete -F _velctl velctl
)"},
    {"zsh", R"(#compdef velctl
# Completion of velctl for zsh: candidates come from velctl itself.
_velctl() {
  local line value described=
  local -a values shown
  for line in "${(@f)$(velctl __complete "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
    [[ -n $line ]] || continue
    value=${line%%$'\t'*}
    if [[ -z $value ]]; then
      _files
      return
    fi
    values+=("$value")
    line=${line#*$'\t'}
    [[ -z $line ]] || described=-l
    shown+=("$value${line:+  -- $line}")
  done
  compadd $described -d shown -a values
}
if [[ $funcstack[1] == _velctl ]]; then
  _velctl "$@"
else
  compdef _velctl velctl
fi
)"},
    {"fish", R"(# Completion of velctl for fish: candidates come from velctl itself.
function __velctl_complete
    set -l words (commandline -opc)
    set -e words[1]
    set -l typed (commandline -ct)
    set -l plain (string unescape -- $typed)
    or set plain (string replace -r '^["\']' '' -- $typed)
    for line in (velctl __complete $words "$plain" 2>/dev/null)
        if string match -q -- \t'*' $line
            __fish_complete_path "$plain"
        else
            printf '%s\n' $line
        end
    end
end
complete -c velctl -f -a '(__velctl_complete)'
)"},
};

}  // namespace

std::vector<std::string> completedShells() {
  std::vector<std::string> shells;
  for (const Script& script : kScripts) {
    shells.emplace_back(script.shell);
  }
  return shells;
}

std::string completionScript(const std::string& shell) {
  for (const Script& script : kScripts) {
    if (script.shell == shell) {
      return script.text;
    }
  }
  return {};
}

}  // namespace velctl
