"""Physical lines of more than 4095 bytes are read in pieces, each a line of its own."""

import pytest

from varnel_run import HEADER, ONE_SERVER, SUCCESS, UP_TO_SPLIT, failed_split, m

PIECE = 4095
DN = b"dn: o=example\n"  # line 1 of every input below
WRITTEN = HEADER + b"\n" + DN
MEGABYTES_100 = 100 * 1024 * 1024


@pytest.fixture
def ready(site):
    site.configure(*ONE_SERVER)
    return site


def expect_split(site, data, written, *warnings):
    site.write("in.ldif", data)
    site.run().expect(0, *UP_TO_SPLIT, *warnings, m(39))
    assert site.read("one.ldif") == written


def warning(site, line):
    return m(60, line, site.absolute("in.ldif"))


def invalid(site, line):
    return m(33, line, site.absolute("in.ldif"))


def filled(start, length=PIECE):
    return start + b"x" * (length - len(start))


@pytest.mark.parametrize("length", [PIECE - 1, PIECE])
def test_a_line_that_just_fits_with_its_line_feed(ready, length):
    line = filled(b"a: ", length - 1) + b"\n"
    expect_split(ready, DN + line + b"b: 1\n", WRITTEN + line + b"b: 1\n")


def test_a_line_whose_line_feed_does_not_fit_loses_it(ready):
    """The line feed is a piece of its own, a blank line to the program, and is dropped."""
    line = filled(b"a: ")
    expect_split(ready, DN + line + b"\nb: 1\n", WRITTEN + line + b"b: 1\n", warning(ready, 3))


def test_a_line_whose_carriage_return_does_not_fit_loses_its_line_end(ready):
    line = filled(b"a: ")
    expect_split(ready, DN + line + b"\r\nb: 1\n", WRITTEN + line + b"b: 1\n", warning(ready, 3))


def test_a_carriage_return_that_fits_without_its_line_feed(ready):
    line = filled(b"a: ", PIECE - 1) + b"\r"
    expect_split(ready, DN + line + b"\nb: 1\n", WRITTEN + line + b"b: 1\n", warning(ready, 3))


def test_a_piece_of_one_carriage_return_at_the_end_of_the_input(ready):
    line = filled(b"a: ")
    expect_split(ready, DN + line + b"\r", WRITTEN + line, warning(ready, 3))


@pytest.mark.parametrize("start", [b"#", b"\0", b"\r"])
def test_a_piece_that_is_dropped_for_its_first_byte(ready, start):
    line = filled(b"a: ")
    expect_split(ready, DN + line + start + b"rest\nb: 1\n", WRITTEN + line + b"b: 1\n",
                 warning(ready, 3))


def test_a_piece_that_opens_a_record(ready):
    line = filled(b"a: ")
    expect_split(ready, DN + line + b"dn: cn=y,o=example\nb: 1\n",
                 WRITTEN + line + b"\ndn: cn=y,o=example\nb: 1\n", warning(ready, 3))


def test_a_warning_for_each_place(ready):
    line = filled(b"a: ")
    expect_split(ready, DN + line + b"#1\n" + line + b"\n" + line + b"dn: cn=y,o=example\n",
                 WRITTEN + line + line + line + b"\ndn: cn=y,o=example\n",
                 warning(ready, 3), warning(ready, 5), warning(ready, 7))


def test_two_pieces_of_one_line_are_two_places(ready):
    line = filled(b"a: ") + filled(b"#") + b"#rest\n"
    expect_split(ready, DN + line, WRITTEN + filled(b"a: "), warning(ready, 3), warning(ready, 4))


def test_a_piece_before_the_first_record_is_warned_of_too(ready):
    expect_split(ready, filled(b"a: ") + b"\n" + DN, WRITTEN, warning(ready, 2))


@pytest.mark.parametrize("end", [b"\n", b"\r\n"])
@pytest.mark.parametrize("start", [b"#", b"\0"])
def test_the_line_end_of_a_line_that_is_dropped_is_no_loss(ready, start, end):
    expect_split(ready, DN + filled(start) + end + b"b: 1\n", WRITTEN + b"b: 1\n")


def test_the_rest_of_a_comment_that_is_copied_as_data(ready):
    expect_split(ready, DN + filled(b"#") + b"b: c\n" + b"d: 1\n", WRITTEN + b"b: c\nd: 1\n",
                 warning(ready, 3))


def test_every_rest_of_a_comment_that_is_copied_as_data(ready):
    pieces = filled(b"b: ") + filled(b" c") + b"d: e\n"
    expect_split(ready, DN + filled(b"#") + pieces + b"f: 1\n", WRITTEN + pieces + b"f: 1\n",
                 warning(ready, 4), warning(ready, 5))


def test_an_overlong_line_behind_a_comment_has_nothing_of_it(ready):
    line = filled(b"a: ") + b"b: c\n"
    expect_split(ready, DN + filled(b"#") + b"\n" + line, WRITTEN + line)


def test_a_piece_that_begins_with_a_blank_is_appended_and_nothing_is_lost(ready):
    line = filled(b"a: ") + b" rest\n"
    expect_split(ready, DN + line + b"b: 1\n", WRITTEN + line + b"b: 1\n")


def test_a_dn_in_pieces_that_begin_with_a_blank(ready):
    name = filled(b"dn: cn=") + b" y,o=example\n"
    expect_split(ready, name, HEADER + b"\n" + name)


def test_a_piece_that_reads_as_an_attribute_is_copied_and_nothing_is_lost(ready):
    line = filled(b"a: ") + b"b: c\n"
    expect_split(ready, DN + line, WRITTEN + line)


def test_a_piece_that_is_no_ldif_stops_the_run(ready):
    ready.write("in.ldif", DN + filled(b"a: ") + b"rest\nb: 1\n")
    ready.run().expect(2, *failed_split(invalid(ready, 3), m(34, 3)))
    assert ready.read("one.ldif") == WRITTEN + filled(b"a: ")
    assert ready.read("run.log") == b"3\n"


@pytest.mark.parametrize("piece", [b"dn: none\n", b"dn: o=x\0\n"])
def test_no_warning_where_the_run_stops_at_the_piece_anyway(ready, piece):
    ready.write("in.ldif", DN + filled(b"a: ") + piece)
    stop = [invalid(ready, 3)] if b"\0" in piece else []
    ready.run().expect(2, *failed_split(*stop, m(34, 3)))


def test_pieces_of_a_comment_are_lines_of_their_own(ready):
    ready.write("in.ldif", DN + filled(b"#") + b"rest\n")
    ready.run().expect(2, *failed_split(invalid(ready, 3), m(34, 3)))


def test_the_pieces_of_a_continuation_are_lines_of_their_own_unless_they_begin_with_a_blank(ready):
    ready.write("in.ldif", DN + b"a: 1\n" + filled(b" ") + b"rest\n")
    ready.run().expect(2, *failed_split(invalid(ready, 4), m(34, 4)))
    assert ready.read("one.ldif") == WRITTEN + b"a: 1\n" + filled(b" ")


def test_pieces_count_as_lines(ready):
    """Eight full pieces and a line feed, then line 11."""
    line = b"".join(filled(b"a: ") for _ in range(8))
    ready.write("in.ldif", DN + line + b"\n" + b"no colon\n")
    ready.run().expect(1, *failed_split(warning(ready, 10), invalid(ready, 11), m(34, 11)))


def test_a_single_line_of_4095_bytes_without_a_line_end_is_split(ready):
    """The piece is full, so that the end of the input has not been met; a shorter line meets it, and
    then the run ends at once."""
    line = filled(b"dn: o=")
    ready.write("in.ldif", line)
    ready.run().expect(0, *SUCCESS)
    assert ready.read("rest.ldif") == HEADER + b"\n" + line + b"\n"


@pytest.mark.parametrize("length", [1, 100, PIECE - 1])
def test_a_shorter_single_line_is_not(ready, length):
    ready.write("in.ldif", filled(b"dn: o=", 10 + length)[: max(length, 1)])
    ready.run().expect(0, *SUCCESS)
    assert ready.read("rest.ldif") == b""


def test_a_folded_line_may_be_of_any_length(ready):
    line = b"a: 1\n" + b" folded\n" * 200_000
    expect_split(ready, DN + line + b"b: 1\n", WRITTEN + line + b"b: 1\n")


def test_a_folded_dn_may_be_of_any_length(ready):
    name = b"cn=" + b"y" * 1_000_000 + b",o=example"
    folded = b"\n ".join(name[i : i + 76] for i in range(0, len(name), 76))
    expect_split(ready, b"dn: " + folded + b"\n", HEADER + b"\ndn: " + name + b"\n")


def test_a_line_of_100_megabytes(ready):
    ready.write("in.ldif", DN + b"a: " + b"x" * MEGABYTES_100 + b"\n")
    ready.run().expect(2, *failed_split(invalid(ready, 3), m(34, 3)))
    assert ready.read("one.ldif") == WRITTEN + filled(b"a: ")


def test_a_line_of_100_megabytes_of_blanks(ready):
    """Every piece begins with a blank, so all of it is one logical line, without a type."""
    ready.write("in.ldif", b" " * MEGABYTES_100 + b"\n")
    line = -(-(MEGABYTES_100 + 1) // PIECE)
    ready.run().expect(1, *failed_split(invalid(ready, line), m(34, line)))


def test_a_value_of_100_megabytes_of_blanks(ready):
    line = b"a:" + b" " * MEGABYTES_100 + b"\n"
    ready.write("in.ldif", DN + line)
    ready.run().expect(0, *SUCCESS)
    assert ready.read("one.ldif") == WRITTEN + line


def test_a_line_of_100_megabytes_of_nul_bytes(ready):
    ready.write("in.ldif", DN + b"\0" * MEGABYTES_100)
    run = ready.run()
    pieces = -(-MEGABYTES_100 // PIECE)
    expected = [warning(ready, 3 + i).line() for i in range(pieces - 1)]
    expected.append(m(69, 1 + pieces, ready.absolute("in.ldif")).line())
    assert run.lines("stderr") == expected
    assert run.status == 0
    assert ready.read("one.ldif") == WRITTEN
