/**
 * What the thread sanitizer says nothing of, each with the reason. Part of the program and of its tests in a
 * build with that sanitizer, and in no other.
 */

extern "C" {

const char* __tsan_default_options() // NOLINT(readability-identifier-naming)
{
    // A stop does its work in the signal handler, which runs while the main thread waits and holds nothing.
    // The worker is never joined: it may be in a call that a cancellation doesn't end.
    return "report_signal_unsafe=0:report_thread_leaks=0";
}

const char* __tsan_default_suppressions() // NOLINT(readability-identifier-naming)
{
    // Flags between the main thread and the worker are plain variables by design. Each has one writer, and
    // who reads it a moment late does no harm: gStopTheDaemon and the note that a stop is passed on,
    // gRunDaemonLoop, and mAlive with mResult. Only the function of the access itself counts: the worker and
    // its captures run below some of these, and what they share is looked at.
    return "race_top:^NoteStop\n"
           "race_top:^IsStopUnderWay\n"
           "race_top:^SignalHandler\n"
           "race_top:^ServiceWorkerThread\n"
           "race_top:^StopMonitoringActivity\n"
           "race_top:RunWorker\n"
           // Of the tests: the list of streams is read under the C library's own lock, which the sanitizer
           // doesn't know, and GoogleTest destroys its parameters at the end, when a worker may still read
           // one.
           "race:^TakeStreamLocks\n"
           "race:ParameterizedTestFactory\n";
}

} // extern "C"
