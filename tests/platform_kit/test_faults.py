#!/usr/bin/env python3
"""The platform tests notice what they are for: each fault of a platform makes the test fail that tells of it."""

import os
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

PROGRAM = os.environ["FAULTY_PLATFORM"]

NOTICED_BY = {
    "clock-steps-back": "Tick.neverGoesBack",
    "clock-counts-centiseconds": "Tick.countsMilliseconds",
    "clock-of-each-thread": "Tick.isTheSameClockForAllThreads",
    "text-without-sign": "String.isTheDecimalNumberAndNothingElse",
    "section-gets-a-new-key": "Debug.theSameNameHasTheSameKey",
    "section-is-looked-up-without-a-lock": "Debug.threadsMayRegisterTheSameSectionsAtOnce",
    "mutex-locks-nothing": "Mutex.lockBlocksUntilTheOtherThreadUnlocks",
    "mutex-is-recursive": "Mutex.refusesTheThreadThatHoldsItAtOnceAndStaysHeld",
    "lock-that-failed-is-unlocked": "AutoLock.doesNotUnlockAMutexThatItCouldNotLock",
    "lock-is-never-given-back": "AutoLock.holdsTheMutexForItsScope",
    "threads-share-a-number": "ThreadID.noTwoRunningThreadsShareOne",
    "no-thread-is-made": "Thread.doesNotRunBeforeItIsStarted",
    "thread-bears-another-name": "Thread.bearsItsNameOrTheBeginningOfIt",
    "second-start-is-taken": "Thread.isRefusedASecondStartWhileItRuns",
    "stop-does-not-wait": "Thread.stopAndWaitReturnsOnlyWhenTheEntryFunctionHas",
    "pipe-tears-records": "PipeOfThreads.eventRecordsStayWholeAndInOrder",
    "pipe-loses-a-record": "OpenPipe.aFullOneRefusesAtOnceAndLosesNothing",
    "pipe-takes-a-part-of-a-large-write": "OpenPipe.writesOfAnySizeAreTakenWholeOrNotAtAll",
    "pipe-keeps-the-rest-of-a-record": "OpenPipe.aReadOfOneByteTooManyIsRefusedAndConsumesWhatThereWas",
    "pipe-counts-one-byte-too-many": "OpenPipe.givesBackWhatWasWritten",
    "wait-returns-early": "EndPoints.aWaitWithSilentOnesTakesAllItsTime",
    "wait-misses-a-wake-up": "WaitingThread.isWokenByEachOfManyWrites",
    "wait-counts-one-call-less": "EndPoints.aWaitCallsEachReadableOneOnce",
    "closed-end-point-is-refused": "ClosedEndPoint.isReportedByAWaitThatGoesOn",
    "removal-does-not-wait": "RemovalMeanwhile.waitsForTheHandler",
    "every-bus-exists": "NoCAN.aBusThatDoesNotExistIsNull",
    "frame-keeps-old-bytes": "CAN.bytesBeyondTheLengthAreZero",
    "empty-bus-clears-the-message": "CAN.aReadOfNothingIsRefusedAndLeavesTheMessageAlone",
}


class Fault(unittest.TestCase):
    def run_test(self, test, fault):
        environment = {name: value for name, value in os.environ.items() if name != "KX_FAULT"}
        if fault:
            environment["KX_FAULT"] = fault
        return subprocess.run([PROGRAM, "--gtest_filter=" + test], capture_output=True, text=True, timeout=120,
                              env=environment, check=False)

    def run_until_noticed(self, test, fault):
        """A thread that a busy machine holds up for as long as a test waits hides what it would show."""
        for _ in range(5):
            done = self.run_test(test, fault)
            if done.returncode != 0:
                break
        return done

    def test_is_noticed_by_its_test(self):
        with ThreadPoolExecutor(max_workers=4) as pool:  # most of them wait
            results = list(pool.map(self.run_until_noticed, NOTICED_BY.values(), NOTICED_BY))
        for (fault, test), done in zip(NOTICED_BY.items(), results):
            with self.subTest(fault):
                self.assertNotEqual(0, done.returncode, f"{test} passes")
                self.assertIn(f"[  FAILED  ] {test}", done.stdout)

    def test_missing_lets_the_same_tests_pass(self):
        done = self.run_test(":".join(NOTICED_BY.values()), None)
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertIn(f"[  PASSED  ] {len(NOTICED_BY)} tests.", done.stdout)


if __name__ == "__main__":
    unittest.main()
