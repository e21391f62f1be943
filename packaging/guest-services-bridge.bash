# Completion of guest-services-bridge for bash.
# shellcheck shell=bash

_guest_services_bridge() {
  local word="$2" words
  COMPREPLY=()
  case "$3" in
    --password-file | --ca-file | --certificate | --key)
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      compopt -o filenames
      return
      ;;
    --host) words="127.0.0.1:8080" ;;
    --discovery-prefix) words="homeassistant" ;;
    --site | --room) return ;;
    *)
      words="--help --version --site --room --host --password-file --ca-file --certificate --key
        --discovery-prefix --no-discovery mqtt:// mqtts://"
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _guest_services_bridge guest-services-bridge
