"""Where the panel stands and how large it is."""

from cobblet import GAP, GROUPS, CobbletCase, desired_size
from desktop import bottom


class Sizes(CobbletCase):
    def test_the_panel_takes_the_size_of_the_group_selected_and_stays_beside_the_dock(self):
        cobblet = self.start()
        self.assertEqual(cobblet.wait_painted().rect()[2:], (600, 340))
        dock = self.desktop.dock().rect()
        for digit in (1, 2, 1):
            panel = cobblet.select(digit).rect()
            width, height = desired_size(GROUPS[digit - 1])
            self.assertAlmostEqual(panel.width, width, delta=1)
            self.assertAlmostEqual(panel.height, height, delta=1)
            self.assertAlmostEqual(dock.y - bottom(panel), GAP, delta=1)
            self.assertAlmostEqual(panel.x + panel.width / 2, self.desktop.size[0] / 2, delta=1)
