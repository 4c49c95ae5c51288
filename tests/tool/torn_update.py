"""A token whose picture was being replaced when the power went."""

from tool_case import COMPANY, NAME_SEAL, ToolCase


class TornUpdate(ToolCase):
    """An update of "Seal" that lost power in the middle of the new picture."""

    def setUp(self):
        super().setUp()
        self.append("Seal", NAME_SEAL)
        self.tear_update("Seal")
        self.kept, = self.recovery_folders()

    def tear_update(self, name):
        self.softtoken("fault", "add", "a", "--recipe", "torn-write")
        done = self.run_tool("update", "--password-file", self.password_file, "name:" + name,
                             COMPANY)
        self.softtoken("fault", "clear", "a")
        self.assertNotEqual(done.returncode, 0)

    def repaired(self):
        """Where the list was lost with the update, it is mended first."""
        listed = self.json(0, "list")["result"]["stamps"]
        if not listed:
            self.change(10, "check", "--repair", "--yes", "--name", "8130=Seal")
            listed = self.json(0, "list")["result"]["stamps"]
        return listed
