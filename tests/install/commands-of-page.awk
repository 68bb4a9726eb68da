# Prints the shell commands that a page shows below a heading: awk -v heading="## On Windows" PAGE
/^```$/ { code = 0 }
!code && /^##? / { below = $0 == heading }
below && code { print }
/^```sh$/ { code = 1 }
