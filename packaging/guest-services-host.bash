# Completion of guest-services-host for bash.
# shellcheck shell=bash

_guest_services_host() {
  local word="$2" previous="$3" words
  COMPREPLY=()
  case "$previous" in
    --state | --log-config | --plugin | --junit)
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      compopt -o filenames
      return
      ;;
    --log-level) words="TRACE DEBUG INFO WARN ERROR FATAL OFF" ;;
    --listen) words="127.0.0.1:8080 none" ;;
    --allow-host | --max-state) return ;;
    *)
      case "${COMP_WORDS[1]-}$((COMP_CWORD > 1))" in
        run1)
          words="--help --state --listen --allow-host --no-console --log-level --max-state --log-config
            --plugin --verbose"
          ;;
        replay1)
          words="--help --update --show --junit --plugin --verbose"
          if [[ "$word" != -* ]]; then
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            compopt -o filenames
            return
          fi
          ;;
        *0) words="run replay --help --version" ;;
        *) return ;;
      esac
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _guest_services_host guest-services-host
