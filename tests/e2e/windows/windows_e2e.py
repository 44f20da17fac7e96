"""The vocabulary of the tests that drive the Windows program through its windows."""
from e2e import OWN, ProgramTest
from sample_servers import LOCALHOST
from settings_file import PROTOCOLS
from windows_program import IDS, MESSAGE_TEXT, NAME, WM_SYSCOMMAND, WindowsProgram

NO_INSTALL = "-noinstall"
# So that nothing in the file changes by a mere run.
PLACE = dict(window=(20, 30, 820, 530), tray_question_asked=1)
BUTTONS = ["ID_PFO_EDIT", "ID_PFO_DELETE", "ID_PFO_START", "ID_PFO_STOP"]


class WindowsTest(ProgramTest):
    listen_on = {"tcp": OWN, "udp": LOCALHOST}  # Wine answers datagrams from there only

    def setUp(self):
        super().setUp()
        self.file = self.folder / f"{NAME}.KVR"

    @property
    def log_path(self):
        return f"Z:{self.log}".replace("/", "\\")

    def run_program(self, settings, *arguments):
        """Comes back before there is a window. Without settings, the file stays as it is."""
        self.program = self.enterContext(WindowsProgram(self.folder, settings, *arguments))
        return self.program

    def start(self, settings=None):
        return self.run_program(settings, NO_INSTALL).wait_for_main()

    def assert_becomes(self, expected, read):
        """Waits until that reads so."""
        try:
            self.program.wait_until(lambda: read() == expected, expected)
        except AssertionError:
            self.assertEqual(read(), expected)
            raise

    def assert_values(self, **expected):
        """Lines of the main window."""
        self.assert_becomes(expected, lambda: {name: self.program.value(name) for name in expected})

    def assert_statuses(self, *expected):
        """Of the rows from above."""
        self.assert_becomes(list(expected), lambda: self.program.list.column(0))

    def assert_enabled(self, *expected):
        main = self.program.main
        self.assert_becomes(list(expected), lambda: [each for each in BUTTONS if main.control(IDS[each]).enabled])

    def answer(self, text, button):
        """A message box with this title and text."""
        box = self.program.dialog(MESSAGE_TEXT)
        self.assertEqual(f"{box.text()}: {box.text(MESSAGE_TEXT)}", text)
        self.program.press(box, button)

    def fill(self, options, operation):
        """The fields of the options dialog."""
        options.check(IDS["IDC_PFO_TCP" if operation.protocol == PROTOCOLS["tcp"] else "IDC_PFO_UDP"])
        for name in ("local_port", "local_interface", "remote_port", "remote_host"):
            options.set_text(IDS[f"IDC_PFO_{name.upper()}"], getattr(operation, name))

    def add(self, operation):
        """By the options dialog; the new operation is row 0 and selected."""
        count = self.program.list.count
        options = self.program.open("ID_PFO_NEW", "IDC_PFO_LOCAL_PORT")
        self.fill(options, operation)
        self.program.press(options, "OK")
        self.assert_becomes((count + 1, 0), lambda: (self.program.list.count, self.program.list.mark))

    def do(self, command):
        self.program.main.do(IDS[command])

    def system(self, command, effect):
        """A command of the window's frame. A question may come first."""
        self.program.main.post(WM_SYSCOMMAND, command)
        self.program.wait_until(effect, "its effect")

    def is_forwarding(self, operation):
        try:
            return self.assert_carries("tcp", operation) is not None
        except ConnectionRefusedError:
            return False

