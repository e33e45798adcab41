"""What bench/footprint makes of the emulator's log, of readelf's words and of the record, each by an example."""

import io
import os
import tempfile
import unittest
from contextlib import redirect_stderr

from footprint import __main__ as footprint
from footprint import elf, report
from footprint.emulator import Execution
from shared import Failed, table

MARK = 0x107E0

# Of two threads: the first enters the mark, a block of two instructions twice, one with a system call, and the mark.
LOG = b"""----------------
IN:
0x000107e0:  4770       bx       lr

Trace 0: 0x7fd2e40000c0 [00800480/000107e0/00000000/00000201]
----------------
IN: kx
0x3f7f0f40:  2b25       cmp      r3, #0x25
0x3f7f0f42:  d916       bls      #0x3f7f0f72

Trace 0: 0x7fd2e4000180 [00800480/3f7f0f40/00000000/00000201]
Trace 1: 0x7fd2e4000180 [00800480/3f7f0f40/00000000/00000201]
77 futex(0x40003000,FUTEX_WAIT,2,NULL)Trace 0: 0x7fd2e4000180 [00800480/3f7f0f40/00000000/00000201] kx
----------------
IN:
0x3e000000:  f04f 0704  mov.w    r7, #4
0x3e000004:  df00       svc      #0

Trace 0: 0x7fd2e4000240 [00800480/3e000000/00000000/00000201]
77 write(4,0x40001000,136) = 136
 = 0
Trace 0: 0x7fd2e40000c0 [00800480/000107e0/00000000/00000201]
""".splitlines(keepends=True)

MAP = """00010000-00011000 r-xp 00000000 fe:00 1                 /tmp/bin/footprint_presses
3e000000-3e100000 r-xp 00000000 fe:00 2                 /usr/lib/libc.so.6
3f7f0000-3f800000 r-xp 00000000 fe:00 3                 /tmp/lib/libKXAPI_Events.so.1.0.0
ffff0000-ffff1000 r-xp 00000000 00:00 0

""".splitlines()


def stretches_of(log, mark=MARK):
    execution = Execution(mark)
    execution.take_all(log)
    return execution.stretches


class Counting(unittest.TestCase):
    def test_marks_divide_what_the_first_thread_did(self):
        self.assertEqual([stretch.by_block.total() for stretch in stretches_of(LOG)], [0, 1 + 2 * 2 + 2, 1])

    def test_what_the_emulator_did_not_begin_after_all_does_not_count(self):
        stopped = b"Stopped execution of TB chain before 0x7fd2e4000180 [3f7f0f40]%s\n"
        for symbol in (b" ", b" kx"):
            log = [*LOG[:11], stopped % symbol, *LOG[10:]]
            self.assertEqual(stretches_of(log)[1].by_block.total(), 1 + 2 * 2 + 2)

    def test_what_another_thread_did_not_begin_does_not_matter(self):
        log = [*LOG[:11], b"Stopped execution of TB chain before 0x7fd2e4ffffff [3f7f0f40] \n", *LOG[11:]]
        self.assertEqual(stretches_of(log)[1].by_block.total(), 1 + 2 * 2 + 2)

    def test_a_block_that_is_translated_anew_counts_as_it_is_then(self):
        log = [*LOG[:-1], b"IN:\n", b"0x000107e0:  bf00       nop\n", b"0x000107e2:  4770       bx       lr\n", LOG[-1]]
        self.assertEqual(stretches_of(log)[2].by_block.total(), 2)

    def test_a_block_that_was_never_listed_is_an_error(self):
        with self.assertRaisesRegex(Failed, "has not listed"):
            stretches_of([b"Trace 0: 0x7fd2e40000c0 [00800480/000107e0/00000000/00000201]\n"])

    def test_instructions_belong_to_files(self):
        self.assertEqual(report.by_group(stretches_of(LOG)[1], MAP),
                         {"the program itself": 1, "libKXAPI_Events": 4, "C library": 2})

    def test_calls_that_are_not_all_named_are_an_error(self):
        stretch = stretches_of(LOG)[1]
        self.assertEqual((stretch.calls, stretch.names_of_calls), (1, ["futex", "write"]))
        with self.assertRaisesRegex(Failed, "1 system calls were made, but 2 are named"):
            report.side(stretch, MAP)

    def test_a_count_that_does_not_repeat_is_an_error(self):
        with redirect_stderr(io.StringIO()):
            self.assertEqual(footprint.repeated("a press", 3, lambda: 7), 7)
            with self.assertRaisesRegex(Failed, "a press: the count does not repeat: 7, then 8"):
                footprint.repeated("a press", 3, iter([7, 7, 8]).__next__)

    def test_glib_does_not_count_in_a_start(self):
        with_glib = [line.replace("libc.so.6", "libglib-2.0.so.0") for line in MAP]
        stretches = stretches_of(LOG, mark=0)
        self.assertEqual(report.start(stretches, MAP)["instructions"], 8)
        self.assertEqual(report.start(stretches, with_glib)["instructions"], 6)


class Library(unittest.TestCase):
    def test_sections_are_of_the_part_that_the_program_size_has_them_in(self):
        text = """Section Headers:
  [Nr] Name              Type            Addr     Off    Size   ES Flg Lk Inf Al
  [ 0]                   NULL            00000000 000000 000000 00      0   0  0
  [ 3] .dynsym           DYNSYM          00000970 000970 0017d0 10   A  4   3  4
  [11] .text             PROGBITS        000075b8 0075b8 009224 00  AX  0   0  8
  [21] .got              PROGBITS        00016000 015000 0003c8 04  WA  0   0  4
  [23] .bss              NOBITS          000163cc 0153cc 000050 00  WA  0   0  4
  [24] .comment          PROGBITS        00000000 0153cc 00001f 01  MS  0   0  1
"""
        self.assertEqual(list(elf.sections(text)), [(".dynsym", 0x17d0, "text"), (".text", 0x9224, "text"),
                                                    (".got", 0x3c8, "data"), (".bss", 0x50, "bss")])

    def test_relocations_are_found_with_their_kind(self):
        text = """ Offset     Info    Type                Sym. Value  Symbol's Name
00014fa4  00000017 R_ARM_RELATIVE
00015000  00000017 R_ARM_RELATIVE
00016318  00000216 R_ARM_JUMP_SLOT        00000000   write@GLIBC_2.4
"""
        self.assertEqual(elf.RELOCATION.findall(text), ["RELATIVE", "RELATIVE", "JUMP_SLOT"])

    def test_needed_libraries_keep_their_order(self):
        text = """ 0x00000001 (NEEDED)                     Shared library: [libb.so.1]
 0x00000001 (NEEDED)                     Shared library: [liba.so.6]
 0x0000000e (SONAME)                     Library soname: [libc.so.1]
"""
        self.assertEqual(elf.NEEDED.findall(text), ["libb.so.1", "liba.so.6"])

    def test_the_compiler_is_what_the_library_says(self):
        text = "String dump of section '.comment':\n  [     0]  GCC: (Debian 12.2.0-14) 12.2.0\n"
        self.assertEqual(elf.REMARK.findall(text), ["GCC: (Debian 12.2.0-14) 12.2.0"])


class Record(unittest.TestCase):
    def test_columns_stand_below_each_other(self):
        self.assertEqual(table([["bytes", "a"], ["text", 12345], ["bss", 8]]),
                         "| bytes |      a |\n| ----- | -----: |\n| text  | 12,345 |\n| bss   |      8 |\n")

    def test_only_what_stands_between_the_marks_is_replaced(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "record.md")
            with open(path, "w", encoding="utf-8") as file:
                file.write("before\n" + report.BEGIN + "old\n" + report.END + "after\n")
            report.replace(path, "new\n")
            with open(path, encoding="utf-8") as file:
                self.assertEqual(file.read(), "before\n" + report.BEGIN + "\nnew\n\n" + report.END + "after\n")

    def test_a_record_without_a_place_is_left_alone(self):
        with tempfile.NamedTemporaryFile("w+", encoding="utf-8") as file:
            file.write("before\n" + report.BEGIN + "no end\n")
            file.flush()
            with self.assertRaisesRegex(Failed, "no place for the tables"):
                report.replace(file.name, "new\n")
            file.seek(0)
            self.assertTrue(file.read().endswith("no end\n"))


if __name__ == "__main__":
    unittest.main()
