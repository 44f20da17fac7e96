# Sourced. How the sanitized builds are run: a data race or a leak fails the program that shows it.
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
export ASAN_OPTIONS="detect_leaks=1 ${ASAN_OPTIONS:-}"

# The thread sanitizer of this compiler cannot place its memory where the system scatters addresses over more than 28
# bits; its programs then run with addresses that are not scattered, as far as the system allows that.
plain_addresses=""
if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28)" -gt 28 ] && setarch -R true 2>/dev/null; then
    plain_addresses="setarch -R"
fi
