#!/usr/bin/env bash
# Dependencies run down the house only: fails when a file includes a header of a room that its own may not know.
set -euo pipefail
cd "$(dirname "$0")/.."
library=QuarraTcamSdkBaseTypes

# A room, and the rooms, or single headers of one, that it may include beside platform/, whose headers go by their
# namespace's folder.
rooms="tools: soak acl lab agent simulator $library
soak: lab agent simulator $library
acl: lab/JsonText.h lab/TextFile.h
lab: agent simulator $library
agent: $library
$library:
simulator:
platform:"

failed=0
while IFS=: read -r room known; do
   allowed=" $room $known "
   while IFS=: read -r file line target; do
      [[ $allowed == *" ${target%%/*} "* || $allowed == *" $target "* ]] ||
         { echo "$file:$line: $room may not know $target" >&2; failed=1; }
   done < <(grep -rnoE --include='*.h' --include='*.cpp' \
      "#include \"(tools|soak|acl|lab|agent|simulator|$library|tests|fuzz|bench)/[^\"]+" "$room" | sed 's/#include "//')
done <<<"$rooms"
exit $failed
