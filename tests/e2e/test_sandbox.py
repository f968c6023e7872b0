"""What the harness itself sees of a sandbox."""

from harness.sandbox import sockets

TABLE = """\
  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode
   0: 00000000:143C 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 101 1
   1: 0100007F:143C 0100007F:8001 01 00000000:00000000 00:00000000 00000000     0        0 102 1
   2: 0100007F:143C 0100007F:8002 01 00000000:00000000 00:00000000 00000000     0        0 103 1
"""
LAST_AGAIN = TABLE.splitlines()[-1].replace(" 2:", " 3:") + "\n"


def test_a_socket_that_the_kernel_lists_twice_counts_once():
    once = sorted(sockets(TABLE))
    assert once == [("00000000:143C", "0A"), ("0100007F:143C", "01"), ("0100007F:143C", "01")]
    assert sorted(sockets(TABLE + LAST_AGAIN)) == once
