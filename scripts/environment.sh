# Sourced by the scripts: what they and the programs they start need of an environment, whatever the caller's is.
export PATH="${PATH:-/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin}"
# Names of files have letters that the locale "C" has not.
export LC_ALL=C.UTF-8
