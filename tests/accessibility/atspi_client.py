#!/usr/bin/env python3
# Reads and drives the gallery over AT-SPI as a screen reader would; run by run-atspi, which
# starts the gallery on a virtual display with its own session and accessibility buses.
#     atspi_client.py docs/accessibility.md
import subprocess, sys, time
import gi
gi.require_version('Atspi', '2.0')
from gi.repository import Atspi, GLib

Atspi.set_timeout(10000, 15000)
failures = []
events = []


def check(ok, what):
    if not ok:
        failures.append(what)
        print('FAIL', what, flush=True)


def pump(seconds, until=lambda: False):
    end = time.time() + seconds
    while time.time() < end and not until():
        while GLib.MainContext.default().iteration(False):
            pass
        time.sleep(0.02)
    return until()


def app_of():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(i)
        if child and (child.get_name() or '').startswith('VelmoraUI'):
            return child
    return None


def walk(node, found):
    role = node.get_role_name()
    found.append(node)
    if role in ('list box', 'tree', 'table', 'menu', 'combo box'):
        return  # rows are items, asked for on demand
    for i in range(node.get_child_count()):
        walk(node.get_child_at_index(i), found)


def states(node):
    return {s.value_nick for s in node.get_state_set().get_states()}


def actions(node):
    return [node.get_action_name(i) for i in range(node.get_n_actions())] if 'Action' in interfaces(node) else []


def interfaces(node):
    return sorted(node.get_interfaces())


listener = Atspi.EventListener.new(lambda e: events.append((e.type, e.source, e.detail1, e.detail2)))
for kind in ('object:state-changed:focused', 'object:text-changed:insert', 'object:text-caret-moved'):
    listener.register(kind)

# Off until assistive technology asks, and on as soon as it does.
check(not pump(1.5, app_of), 'the program registered while accessibility was off')
subprocess.run(['gdbus', 'call', '--session', '--dest', 'org.a11y.Bus', '--object-path', '/org/a11y/bus',
                '--method', 'org.freedesktop.DBus.Properties.Set', 'org.a11y.Status', 'IsEnabled', '<true>'],
               check=True, stdout=subprocess.DEVNULL)
check(pump(15, app_of), 'the program did not register when accessibility was turned on')
app = app_of()
window = app.get_child_at_index(0)
check(window.get_role_name() == 'frame' and 'active' in states(window), 'the window is no active frame')

# The table of the docs: control, role, interfaces, actions.
table = {}
for line in open(sys.argv[1], encoding='utf-8'):
    cells = [c.strip().strip('`') for c in line.strip().strip('|').split('|')]
    if len(cells) >= 5 and cells[0].isdigit():
        table['control.' + cells[1]] = (cells[2], cells[3], cells[4])

# Every section chosen through the sidebar's Selection; every control as the docs say.
sidebar = next(n for n in [window.get_child_at_index(i) for i in range(window.get_child_count())]
               if n.get_role_name() == 'list box')


def page(section):
    """The nodes of a section, chosen through the sidebar's Selection."""
    check(sidebar.select_child(section), f'section {section} not selected')
    pump(10, lambda: sidebar.is_child_selected(section))
    pump(0.5)
    app.clear_cache()
    nodes = []
    walk(window, nodes)
    return nodes


seen = {}
for section in range(sidebar.get_child_count()):
    for node in page(section):
        if 'focusable' in states(node):
            check(node.get_name(), f'focusable {node.get_role_name()} {node.get_accessible_id()} has no name')
        if node.get_accessible_id() in table and node.get_accessible_id() not in seen:
            seen[node.get_accessible_id()] = (
                node.get_role_name(),
                ', '.join(i for i in interfaces(node) if i not in ('Accessible', 'Component')) or '-',
                ', '.join(actions(node)) or '-')
for control, row in table.items():
    check(seen.get(control) == row, f'{control}: {seen.get(control)} instead of {row}')
check(len(table) == 68, f'the docs table lists {len(table)} controls')

# Actions and values through the bus change the program; bad ones are refused.
by_id = {n.get_accessible_id(): n for n in page(0)}
box = by_id['control.CheckBox']
before = 'checked' in states(box)
box.do_action(0)
check(pump(5, lambda: ('checked' in states(box)) != before), 'toggling the check box changed nothing')
try:
    check(window.get_child_at_index(10**6) is None, 'a child far out of range was answered')
except GLib.Error:
    pass

slider = next(n for n in page(2) if n.get_accessible_id() == 'control.Slider')
check(slider.set_current_value(0.25) and pump(5, lambda: abs(slider.get_current_value() - 0.25) < 1e-9),
      'the slider took no value')
for bad in (float('nan'), 7.0):
    try:
        slider.set_current_value(bad)
    except GLib.Error:
        pass
    pump(0.3)
    check(abs(slider.get_current_value() - 0.25) < 1e-9, f'the slider took {bad}')

# Typing: text-changed and caret-moved with character offsets; a password stays hidden.
by_id = {n.get_accessible_id(): n for n in page(1)}
subprocess.run(['xdotool', 'search', '--name', 'VelmoraUI', 'windowfocus', '--sync'], check=False)
field = by_id['control.TextField']
field.set_text_contents('语')
field.grab_focus()
pump(5, lambda: 'focused' in states(field) and field.get_text(0, -1) == '语')
field.set_caret_offset(1)
pump(1)
events.clear()
for key in 'ab':
    subprocess.run(['xdotool', 'type', key], check=True)
    pump(5, lambda: field.get_text(0, -1).endswith(key))
inserts = [(e[2], e[3]) for e in events if e[0].startswith('object:text-changed:insert')]
carets = [e[2] for e in events if e[0] == 'object:text-caret-moved']
check(inserts == [(1, 1), (2, 1)], f'text inserts {inserts}')
check(carets[-2:] == [2, 3], f'caret moves {carets}')
password = by_id['control.PasswordField']
check(password.set_text_contents('secret') and 'secret' not in password.get_text(0, -1), 'the password showed')
try:
    field.get_text(-5, 3)
    check(False, 'a negative text offset was answered')
except GLib.Error:
    pass

# Tab: one focus event per press.
events.clear()
gained = lambda: [e for e in events if e[0] == 'object:state-changed:focused' and e[2] == 1]
for press in range(1, 7):
    subprocess.run(['xdotool', 'key', 'Tab'], check=True)
    pump(5, lambda: len(gained()) >= press)
pump(1)
check(len(gained()) == 6, f'{len(gained())} focus events for 6 Tab presses')

print('atspi:', 'FAILED' if failures else 'passed', len(table), 'controls', flush=True)
sys.exit(1 if failures else 0)
