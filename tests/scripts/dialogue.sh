#!/usr/bin/env bash
# dialogue.sh COMMAND: batch answers each line before it gets the next one. Answers that wait in a buffer for more would
# let a program that asks line by line wait for ever.
set -uo pipefail
coproc asked { exec "$1" batch -; }
process=$asked_PID input=${asked[1]} answers=${asked[0]}
for line in '{"op":"createGroup","group":16}' nonsense '{"op":"check"}'; do
   echo "$line" >&"$input"
   read -r -t 60 -u "$answers" answer || { echo "no answer to $line"; kill "$process"; exit 1; }
   echo "$answer"
done
exec {input}>&-
wait "$process"
