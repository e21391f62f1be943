# Completion of guest-services-host and guest-services-bridge for bash.
# shellcheck shell=bash

# bash ends words at ":" and "=", too: --host=127.0.0.1:80 is five words. The last one is part, which a
# completion replaces. Sets word to the value up to the cursor, and previous to the word before it.
_guest_services_words() {
  local i=$COMP_CWORD
  word="${COMP_WORDS[i]}"
  [[ "$word" == [:=]* ]] || word="$part"
  while ((i > 1)) && [[ "${COMP_WORDS[i]}" == :* || "${COMP_WORDS[i - 1]}" == :* ]]; do
    i=$((i - 1))
    word="${COMP_WORDS[i]}$word"
  done
  if [[ "$word" == "=" ]]; then
    word=""
  elif [[ "${COMP_WORDS[i - 1]}" == "=" ]]; then
    i=$((i - 1))
  fi
  previous="${COMP_WORDS[i - 1]}"
}

_guest_services_offer() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word")
  COMPREPLY=("${COMPREPLY[@]#"${word%"$part"}"}")
}

_guest_services_offer_files() {
  mapfile -t COMPREPLY < <(compgen -f -- "$part")
  compopt -o filenames
}

_guest_services_host() {
  local part="$2" word previous
  COMPREPLY=()
  _guest_services_words
  case "$previous" in
    --state | --log-config | --plugin | --junit) _guest_services_offer_files ;;
    --log-level) _guest_services_offer "TRACE DEBUG INFO WARN ERROR FATAL OFF" ;;
    --listen) _guest_services_offer "127.0.0.1:8080 none" ;;
    --allow-host | --max-state) ;;
    *)
      case "${COMP_WORDS[1]-}$((COMP_CWORD > 1))" in
        run1)
          _guest_services_offer "--help --state --listen --allow-host --no-console --log-level
            --max-state --log-config --plugin --verbose"
          ;;
        replay1)
          if [[ "$word" == -* ]]; then
            _guest_services_offer "--help --update --show --junit --plugin --verbose"
          else
            _guest_services_offer_files
          fi
          ;;
        *0) _guest_services_offer "run replay --help --version" ;;
      esac
      ;;
  esac
}

_guest_services_bridge() {
  local part="$2" word previous
  COMPREPLY=()
  _guest_services_words
  case "$previous" in
    --password-file | --ca-file | --certificate | --key) _guest_services_offer_files ;;
    --host) _guest_services_offer "127.0.0.1:8080" ;;
    --discovery-prefix) _guest_services_offer "homeassistant" ;;
    --site | --room) ;;
    *)
      _guest_services_offer "--help --version --site --room --host --password-file --ca-file
        --certificate --key --discovery-prefix --no-discovery mqtt:// mqtts://"
      ;;
  esac
}

complete -F _guest_services_host guest-services-host
complete -F _guest_services_bridge guest-services-bridge
