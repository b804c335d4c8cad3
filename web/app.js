// Draws the mesh from the copies of the daemon's JSON files in data/. Texts of other devices reach
// the page as text only (textContent), never as markup.
'use strict';

(() => {
  const given = new URLSearchParams(location.search);
  const setting = (name, fallback) => (Number(given.get(name)) > 0 ? Number(given.get(name)) : fallback);
  const POLL = setting('poll', 2) * 1000; // milliseconds between two looks at the files
  const KEEP = setting('keep', 30) * 1000; // milliseconds that a lost device is still shown
  const PATIENCE = 10000;
  const WEAK = 40, FAIR = 60; // percent of the signal level
  const NOISE = -95; // dBm, to which RSSI is relative
  const SAME_EVENT = 15; // seconds between the first and the last report of it
  const MOST_EVENTS = 100;
  const LONGEST_LABEL = 18;
  const FEW = 30; // devices, all of which keep their labels when the drawing is small

  // ---- The files ------------------------------------------------------------------------------

  const text = (value) => (typeof value === 'string' && value !== 'Unknown' ? value : '');
  const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);

  // The objects "Prefix.1", "Prefix.2", ... of a parent.
  function numbered(parent, prefix) {
    const found = [];
    while (isObject(parent[`${prefix}.${found.length + 1}`])) {
      found.push(parent[`${prefix}.${found.length + 1}`]);
    }
    return found;
  }

  function kindOf(media) {
    if (media.startsWith('IEEE 802.11')) return 'radio';
    if (media.startsWith('IEEE 802.3')) return 'wire';
    if (media.startsWith('IEEE 1901')) return 'power';
    return media.startsWith('MoCA') ? 'coax' : 'unknown';
  }

  const KIND_NAMES = { radio: 'Wi-Fi', wire: 'cable', power: 'power line', coax: 'coax', unknown: 'unknown medium' };

  // "IEEE 802.11ac(IEEE 802.11ac (5GHz))" -> "IEEE 802.11ac (5GHz)"
  function mediaName(media) {
    const inner = /^[^(]*\((.*)\)$/.exec(media);
    return inner === null ? text(media) : inner[1];
  }

  function wifiOf(entry) {
    if (typeof entry.SignalLevel !== 'number') return null;
    return { rate: entry.RATE, rssi: entry.RSSI, level: entry.SignalLevel, tx: text(entry.Tx), rx: text(entry.Rx) };
  }

  function readDevice(raw, isOwn) {
    const ports = numbered(raw, 'Interface').map((port) => ({
      name: text(port.InterfaceName), mac: text(port.InterfaceId), media: text(port.MediaType),
      kind: kindOf(text(port.MediaType)), power: text(port.PowerState),
    }));
    const portAt = (reference) => ports[Number(/^Interface\.(\d+)$/.exec(reference)?.[1]) - 1]?.mac ?? '';
    const id = text(raw.IEEE1905Id);
    return {
      id, raw, ports, isOwn, name: text(raw.Hostname) || (isOwn ? text(raw.DeviceType) : '') || id, ip: text(raw.DeviceIP),
      heard: numbered(raw, 'IEEE1905Neighbor').map((entry) => ({
        id: text(entry.NeighborDeviceId), port: portAt(entry.LocalInterface),
        far: text(entry.NeighborInterfaceId), isExact: false, wifi: wifiOf(entry),
      })),
      hosts: numbered(raw, 'NonIEEE1905Neighbor').map((entry) => ({
        mac: text(entry.NeighborInterfaceId), port: portAt(entry.LocalInterface),
        kind: kindOf(text(entry.MediaType)), wifi: wifiOf(entry),
      })),
    };
  }

  // The devices by AL MAC, this one first.
  function readMesh(file) {
    const al = file.Device.X_5E1F09_IEEE1905.AL;
    const own = readDevice(al, true);
    const devices = new Map([[own.id, own]]);
    for (const raw of numbered(al.NetworkTopology ?? {}, 'IEEE1905Device')) {
      const device = readDevice(raw, false);
      if (device.id !== '' && !devices.has(device.id)) devices.set(device.id, device);
    }
    // The file has no neighbors of this device, but the others say on which of its ports they hear it.
    for (const device of devices.values()) {
      const ofOwn = device.heard.filter((entry) => entry.id === own.id);
      for (const entry of ofOwn) {
        if (!own.ports.some((port) => port.mac === entry.far)) continue;
        const isExact = ofOwn.filter((other) => other.far === entry.far).length === 1;
        own.heard.push({ id: device.id, port: entry.far, far: entry.port, isExact, wifi: entry.wifi });
      }
    }
    return devices;
  }

  // ---- Who is connected to whom -----------------------------------------------------------------
  //
  // Bridges forward discoveries, so a device hears far more devices than it is connected to. As in
  // "vm1905ctl topology", two devices are connected directly if no third one is between them: one
  // that hears both, but on different ports.

  class Bits {
    constructor(size) { this.words = new Uint32Array((size + 31) >> 5); }
    has(index) { return (this.words[index >> 5] >>> (index & 31) & 1) === 1; }
    add(index) { this.words[index >> 5] |= 1 << (index & 31); }
    get any() { return this.words.some((word) => word !== 0); }
    get count() {
      let count = 0;
      for (let word of this.words) for (; word !== 0; word &= word - 1) count++;
      return count;
    }
  }

  class Network {
    constructor(devices) {
      const size = devices.length;
      const numbers = new Map(devices.map((device, index) => [device.id, index]));
      this.heard = devices.map(() => new Bits(size));
      this.ports = devices.map(() => []);
      this.ownPorts = new Map(); // far port -> ports of this device on which it is heard
      this.hops = devices.map(() => Infinity);
      this.ways = devices.map(() => ''); // the port of this device on the way there
      const all = new Bits(size);
      all.words.fill(0xffffffff);
      this.unreported = { mac: '', heard: all, inexact: all, far: new Set(), isCell: false };
      devices.forEach((device, index) => {
        const stations = new Map();
        for (const entry of device.heard) {
          const other = numbers.get(entry.id);
          if (other === undefined || other === index) continue;
          this.heard[index].add(other);
          let port = this.ports[index].find((known) => known.mac === entry.port);
          if (port === undefined) {
            port = { mac: entry.port, heard: new Bits(size), inexact: new Bits(size), far: new Set(), isCell: false };
            this.ports[index].push(port);
          }
          port.heard.add(other);
          if (entry.wifi !== null) {
            // Only an access point has several stations.
            stations.set(port, (stations.get(port) ?? new Set()).add(other));
            port.isCell = stations.get(port).size > 1;
          }
          if (!entry.isExact || !devices[other].ports.some((known) => known.mac === entry.far)) {
            port.inexact.add(other);
            continue;
          }
          port.far.add(entry.far);
          if (index === 0) this.ownPorts.set(entry.far, (this.ownPorts.get(entry.far) ?? new Set()).add(entry.port));
        }
      });
      this.findWays();
    }

    isHeard(a, b) { return this.heard[a].has(b) || this.heard[b].has(a); }

    // True if a device reports others, but not this one.
    isDenied(by, other) { return this.heard[by].any && !this.heard[by].has(other); }

    portsTo(device, other) {
      const found = this.ports[device].filter((port) => port.heard.has(other));
      return found.length > 0 ? found : [this.unreported];
    }

    static hears(port, device, far) {
      return port.heard.has(device) && (port.inexact.has(device) || far === '' || port.far.has(far));
    }

    // The ports of the direct link, undefined if there is none. Of several, the one that agrees with
    // what this device hears, then the one on which the fewest other devices are heard. Each end
    // must report the other, unless oneSided.
    link(a, b, oneSided = false) {
      if (!this.isHeard(a, b)) return undefined;
      if (!oneSided && (this.isDenied(a, b) || this.isDenied(b, a))) return undefined;
      let best, least = [Infinity, 0];
      for (const left of this.portsTo(a, b)) {
        for (const right of this.portsTo(b, a)) {
          if (!Network.hears(left, b, right.mac) || !Network.hears(right, a, left.mac)) continue;
          const cost = [this.isElsewhere(a, left, b, right) + this.isElsewhere(b, right, a, left),
            left.heard.count + right.heard.count];
          if (cost[0] > least[0] || (cost[0] === least[0] && cost[1] >= least[1])) continue;
          if (this.hasDeviceBetween(a, left, b, right)) continue;
          least = cost;
          best = { a: left.mac, b: right.mac };
        }
      }
      return best;
    }

    hasDeviceBetween(a, left, b, right) {
      // A device that does not report this link may hear on it what it hears elsewhere.
      const byA = left.mac === '' ? this.heard[a] : left.heard, byB = right.mac === '' ? this.heard[b] : right.heard;
      for (let word = 0; word < byA.words.length; word++) {
        for (let bits = byA.words[word] | byB.words[word]; bits !== 0; bits &= bits - 1) {
          const other = word * 32 + 31 - Math.clz32(bits & -bits);
          if (other === a || other === b) continue;
          if (this.separates(other, a, b, left.heard.has(other) && right.heard.has(other))) return true;
        }
      }
      return false;
    }

    separates(device, a, b, isHeardByBoth) {
      let onlyA = 0, onlyB = 0, both = 0, cells = 0;
      for (const port of this.ports[device]) {
        const hearsA = port.heard.has(a), hearsB = port.heard.has(b);
        if (hearsA && hearsB) {
          both++;
          if (port.isCell) cells++;
        } else if (hearsA) onlyA++;
        else if (hearsB) onlyB++;
      }
      return both === 0 ? onlyA > 0 && onlyB > 0 : isHeardByBoth && onlyA + onlyB + cells > 0;
    }

    findWays() {
      this.hops[0] = 0;
      const waiting = [0];
      for (const device of waiting) {
        this.hops.forEach((hops, other) => {
          const link = hops === Infinity ? this.link(device, other) : undefined;
          if (link === undefined) return;
          this.hops[other] = this.hops[device] + 1;
          this.ways[other] = device === 0 ? link.a : this.ways[device];
          waiting.push(other);
        });
      }
    }

    // True if this device hears the far port, but not on its way to the near device.
    isElsewhere(near, nearPort, far, farPort) {
      const hearing = this.ownPorts.get(farPort.mac);
      if (hearing === undefined || this.hops[near] > this.hops[far]) return false;
      const way = this.hops[near] === 0 ? nearPort.mac : this.ways[near];
      return way !== '' && !hearing.has(way);
    }
  }

  // Gives each device its parent, its uplink and the devices that it is also connected to.
  function plant(devices) {
    const network = new Network(devices);
    const order = [];
    const waiting = [];
    const recordOf = (device, id, port) => device.heard.filter((entry) => entry.id === id &&
      (port === '' || entry.port === port)).sort((a, b) => (b.wifi !== null) - (a.wifi !== null))[0];

    function put(index, parent, link, isCertain) {
      const device = devices[index];
      Object.assign(device, { parent: null, uplink: null, also: [], children: [], depth: 0 });
      order.push(index);
      waiting.push(index);
      if (parent === undefined) return;
      const above = devices[parent];
      const down = recordOf(above, device.id, link?.a ?? ''), up = recordOf(device, above.id, link?.b ?? '');
      const upper = above.ports.find((port) => port.mac === (link?.a || down?.port));
      const lower = device.ports.find((port) => port.mac === (link?.b || up?.port));
      const kind = isCertain ? (lower ?? upper)?.kind ?? 'unknown' : 'unknown';
      device.parent = above;
      device.depth = above.depth + 1;
      device.uplink = { upper, lower, kind, isCertain, wifi: kind === 'radio' ? down?.wifi ?? up?.wifi ?? null : null };
      above.children.push(device);
    }

    const isPlaced = (index) => devices[index].parent !== undefined;
    function grow() {
      while (waiting.length > 0) {
        const index = waiting.shift();
        devices.forEach((_, other) => {
          const link = isPlaced(other) ? undefined : network.link(index, other);
          if (link !== undefined) put(other, index, link, true);
        });
      }
    }
    // Places a device that only one end of a link reports, or of which only is known who hears it.
    function attach(find, isCertain) {
      for (const index of order) {
        for (let other = 0; other < devices.length; other++) {
          const link = isPlaced(other) ? undefined : find(index, other);
          if (!link) continue;
          put(other, index, isCertain ? link : undefined, isCertain);
          return true;
        }
      }
      return false;
    }

    for (const device of devices) device.parent = undefined;
    put(0);
    grow();
    while (attach((a, b) => network.link(a, b, true), true) || attach((a, b) => network.isHeard(a, b), false)) grow();
    devices.forEach((_, index) => {
      if (isPlaced(index)) return;
      put(index, 0, undefined, false); // nobody hears it
      grow();
    });
    order.forEach((index, later) => {
      const device = devices[index];
      for (const other of order.slice(0, later)) {
        const above = devices[other];
        // Children of one parent share a switch or a radio rather than a cable.
        if (above === device.parent || above.parent === device.parent) continue;
        if (network.link(other, index) !== undefined) device.also.push(above);
      }
      // Denied by all that it claims to hear: its report is older than theirs.
      const claimed = devices.map((_, number) => number).filter((number) => number !== 0 && network.heard[index].has(number));
      device.isDenied = index !== 0 && claimed.length > 0 && claimed.every((number) => network.isDenied(number, index));
    });
  }

  // ---- What is shown ----------------------------------------------------------------------------

  const state = {
    devices: new Map(), // also those that are lost, with the time in "lost"
    names: new Map(), // of all devices so far
    log: {}, settings: new Map(), changed: null, selected: null, hits: null,
  };

  const byName = (a, b) => a.name.localeCompare(b.name, 'en', { numeric: true }) || (a.id < b.id ? -1 : 1);
  const count = (number, one, many, more = '') => (number === 0 ? '' : `${number} ${number === 1 ? one : many}${more}`);
  const clock = (time) => new Date(time).toLocaleTimeString('en-GB');
  const rateText = (rate) => (rate >= 1000 ? `${Number((rate / 1000).toFixed(1))} Gb/s` : `${rate} Mb/s`);
  const signalText = (wifi) => `${wifi.level} % (${NOISE + wifi.rssi} dBm)`;
  const qualityOf = (wifi) => (wifi.level < WEAK ? 'weak' : wifi.level < FAIR ? 'fair' : 'good');

  function healthOf(device) {
    if (device.lost !== undefined || device.isDenied) return 'stale';
    return device.uplink?.wifi ? qualityOf(device.uplink.wifi) : 'good';
  }

  function rateOf(device) {
    const uplink = device.uplink;
    if (uplink?.wifi) return uplink.wifi.rate;
    const media = [uplink?.upper?.media ?? '', uplink?.lower?.media ?? ''];
    if (uplink?.kind !== 'wire') return 0;
    return media.some((name) => name.startsWith('IEEE 802.3u')) ? 100 : 1000;
  }

  // One line on the uplink.
  function linkText(device) {
    if (healthOf(device) === 'stale') return 'not heard';
    if (device.isOwn) return 'source of this page';
    const { uplink } = device;
    if (!uplink.isCertain) return 'place unknown';
    const parts = [];
    if (uplink.wifi) parts.push(qualityOf(uplink.wifi) === 'weak' ? `weak ${uplink.wifi.level} %` : `${uplink.wifi.level} %`);
    if (rateOf(device) > 0) parts.push(rateText(rateOf(device)));
    return parts.join(' · ') || KIND_NAMES[uplink.kind];
  }

  // Takes over what a new file says. A device that is missing stays for a while.
  function takeMesh(devices, time) {
    plant([...devices.values()]);
    for (const [id, old] of state.devices) {
      if (devices.has(id)) continue;
      devices.set(id, old);
      if (old.lost !== undefined) continue;
      old.lost = time;
      say(`${old.name} is not heard any more`);
    }
    for (const [id, device] of devices) {
      state.names.set(id, device.name);
      const old = state.devices.get(id);
      if (old === undefined && state.changed !== null) say(`${device.name} has joined`);
      if (old !== undefined && old !== device && old.lost !== undefined) say(`${device.name} is back`);
      if (device.lost === undefined) continue;
      // Its place in the tree, as long as its parent is there.
      device.parent = devices.get(device.parent?.id) ?? devices.values().next().value;
      device.children = [];
      device.also = [];
    }
    for (const device of devices.values()) if (device.lost !== undefined) device.parent.children.push(device);
    for (const device of devices.values()) device.children.sort(byName);
    state.devices = devices;
  }

  // Removes devices that have been lost for long. True if there was one.
  function forget(time) {
    let any = false;
    for (const [id, device] of state.devices) {
      if (device.lost === undefined || time - device.lost < KEEP) continue;
      state.devices.delete(id);
      device.parent.children = device.parent.children.filter((child) => child !== device);
      for (const child of device.children) {
        child.parent = device.parent;
        device.parent.children.push(child);
      }
      if (state.selected === id) state.selected = null;
      any = true;
    }
    return any;
  }

  // Many devices report the same event; each becomes one line, the newest first. That a device which
  // is in the mesh is heard by one more is no news.
  function readEvents(file, ownId) {
    const entries = numbered(file, 'ChangeLog').map((entry) => ({
      stamp: text(entry.TimeStamp), time: Date.parse(`${entry.TimeStamp}Z`) / 1000 || 0, isNew: entry.EventType === 'NewNeighbor',
      isHost: entry.NeighborType !== 'IEEE1905', id: text(entry.NeighborId), reporter: text(entry.ReporterDeviceId),
    })).sort((a, b) => a.time - b.time);
    const events = [], hearers = new Map(), last = new Map();
    for (const entry of entries) {
      const heardBy = hearers.get(entry.id) ?? new Set();
      const isKnown = heardBy.size > 0;
      hearers.set(entry.id, heardBy);
      if (entry.isNew) heardBy.add(entry.reporter);
      else if (entry.reporter === ownId) heardBy.clear(); // the file has lost it
      else heardBy.delete(entry.reporter);
      const kind = `${entry.isNew} ${entry.id}`, same = last.get(kind);
      if (same !== undefined && entry.time - same.time <= SAME_EVENT) {
        same.reporters.add(entry.reporter);
        same.isLost = heardBy.size === 0;
      } else if (!entry.isNew || !isKnown) {
        const event = { ...entry, key: `${kind} ${entry.stamp}`, reporters: new Set([entry.reporter]), isLost: heardBy.size === 0 };
        last.set(kind, event);
        events.push(event);
      }
    }
    return events.reverse().slice(0, MOST_EVENTS);
  }

  function readSettings(file) {
    return new Map(numbered(file.NetworkTopology ?? {}, 'IEEE1905Device').concat(file).map((raw) => [text(raw.IEEE1905Id), raw]));
  }

  // ---- Elements ---------------------------------------------------------------------------------

  const at = (id) => document.getElementById(id);
  function element(tag, content, className) {
    const made = document.createElement(tag);
    if (content !== undefined) made.textContent = content;
    if (className !== undefined) made.className = className;
    return made;
  }
  function setText(node, value) {
    if (node.textContent !== value) node.textContent = value;
  }
  function say(sentence) {
    at('spoken').textContent = sentence;
  }
  // Puts these elements into the parent; those that are in their place already are not touched, so
  // that they keep the focus.
  function arrangeChildren(parent, wanted) {
    wanted.forEach((node, index) => {
      if (parent.children[index] !== node) parent.insertBefore(node, parent.children[index] ?? null);
    });
    while (parent.children.length > wanted.length) parent.lastElementChild.remove();
  }

  // ---- The list ---------------------------------------------------------------------------------

  const items = new Map(); // AL MAC -> its elements

  function itemOf(device) {
    let item = items.get(device.id);
    if (item === undefined) {
      item = { li: element('li'), button: element('button', undefined, 'device'), ul: element('ul') };
      item.button.type = 'button';
      item.mark = item.button.appendChild(element('span', '', 'mark'));
      item.name = item.button.appendChild(element('span', '', 'name'));
      item.about = item.button.appendChild(element('span', '', 'about'));
      item.mark.setAttribute('aria-hidden', 'true');
      item.button.addEventListener('click', () => select(device.id, true));
      items.set(device.id, item);
    }
    setText(item.name, device.name);
    setText(item.about, linkText(device));
    item.mark.className = `mark ${healthOf(device)}${device.uplink?.kind === 'radio' ? ' radio' : ''}`;
    if (state.selected === device.id) item.button.setAttribute('aria-current', 'true');
    else item.button.removeAttribute('aria-current');
    arrangeChildren(item.ul, device.children.map((child) => itemOf(child).li));
    arrangeChildren(item.li, device.children.length > 0 ? [item.button, item.ul] : [item.button]);
    item.li.hidden = state.hits !== null && !hasHit(device);
    return item;
  }

  const hasHit = (device) => state.hits.has(device.id) || device.children.some(hasHit);

  function showList() {
    const root = state.devices.values().next().value;
    arrangeChildren(at('tree'), [itemOf(root).li]);
    for (const id of items.keys()) if (!state.devices.has(id)) items.delete(id);
  }

  at('tree').addEventListener('keydown', (event) => {
    const buttons = [...at('tree').querySelectorAll('button.device')].filter((button) => button.offsetParent !== null);
    const here = buttons.indexOf(document.activeElement);
    const next = { ArrowDown: here + 1, ArrowUp: here - 1, Home: 0, End: buttons.length - 1 }[event.key];
    if (next === undefined || buttons[next] === undefined) return;
    event.preventDefault();
    buttons[next].focus();
  });

  // ---- The details ------------------------------------------------------------------------------

  function facts(rows) {
    const list = element('dl');
    for (const [label, value] of rows) {
      if (!value) continue;
      const shown = element('dd');
      shown.append(value);
      list.append(element('dt', label), shown);
    }
    return list;
  }

  function table(caption, heads, rows) {
    if (rows.length === 0) return '';
    const frame = element('div', undefined, 'table');
    frame.tabIndex = 0; // so that keys can scroll it
    frame.setAttribute('role', 'group');
    frame.setAttribute('aria-label', caption);
    const made = frame.appendChild(element('table'));
    made.append(element('caption', caption));
    const head = made.createTHead().insertRow();
    for (const title of heads) head.appendChild(element('th', title)).scope = 'col';
    const body = made.createTBody();
    for (const cells of rows) {
      const row = body.insertRow();
      for (const cell of cells) row.insertCell().textContent = cell;
    }
    return frame;
  }

  const portName = (device, mac) => device.ports.find((port) => port.mac === mac)?.name || mac;

  function lastHeard(device) {
    if (device.lost !== undefined) return `before ${clock(device.lost)}`;
    if (device.isDenied) return 'its neighbors do not hear it any more';
    return device.isOwn ? '' : `at most 130 s before ${clock(state.changed)}`;
  }

  function uplinkFacts(device) {
    const { uplink, parent } = device;
    if (uplink === null || parent === null) return [];
    const above = element('button', parent.name, 'link');
    above.type = 'button';
    above.addEventListener('click', () => select(parent.id, true));
    const ports = [uplink.upper, uplink.lower].filter(Boolean).map((port) => port.name || port.mac);
    return [['Connected to', above], ['Ports', ports.join(' – ')],
      ['Medium', uplink.isCertain ? mediaName((uplink.lower ?? uplink.upper)?.media ?? '') || 'unknown' : 'unknown'],
      ['Rate', rateOf(device) > 0 ? rateText(rateOf(device)) : ''],
      ['Signal', uplink.wifi ? `${signalText(uplink.wifi)}, ${qualityOf(uplink.wifi)}` : ''],
      ['Sends / receives', uplink.wifi ? [uplink.wifi.tx, uplink.wifi.rx].filter(Boolean).join(' / ') : ''],
      ['Also linked to', device.also.map((other) => other.name).join(', ')]];
  }

  function loadText(device) {
    const below = (node) => node.children.reduce((sum, child) => sum + 1 + below(child), 0);
    const stations = device.hosts.filter((host) => host.kind === 'radio');
    const weak = stations.filter((host) => host.wifi && host.wifi.level < WEAK).length;
    return [count(below(device), 'device below', 'devices below'), count(stations.length, 'station', 'stations', weak > 0 ? ` (${weak} weak)` : ''),
      count(device.hosts.length - stations.length, 'wired host', 'wired hosts')].filter(Boolean).join(', ') || 'none';
  }

  function settingsText(device) {
    const raw = state.settings.get(device.id);
    const flags = raw?.['AP-autoconfig_Sync'];
    if (!Array.isArray(flags)) return '';
    return flags.every((flag) => flag === 1) ? 'as on the Registrar' : 'not all received yet';
  }

  function showDetails() {
    const device = state.devices.get(state.selected);
    if (device === undefined) {
      setText(at('details-title'), 'Details');
      at('facts').replaceChildren(element('p', 'Choose a device in the drawing or in the list.'));
      return;
    }
    const { raw } = device;
    setText(at('details-title'), device.name);
    const focused = at('facts').contains(document.activeElement);
    at('facts').replaceChildren(
      facts([['State', healthOf(device) === 'stale' ? 'not heard' : healthOf(device) === 'weak' ? 'weak signal' : 'heard'],
        ['Last heard', lastHeard(device)], ...uplinkFacts(device), ['Load', loadText(device)],
        ['Role', text(raw.DeviceType)], ['AL MAC', device.id], ['IP address', device.ip], ['Mode', text(raw.DeviceMode)],
        ['Backhaul', text(raw.Backhaultype)],
        ['Channels', ['WIFI24GChannel', 'WIFI5GChannel', 'WIFI5G2Channel'].map((key) => text(raw[key])).filter(Boolean).join(', ')],
        ['Wi-Fi settings', settingsText(device)], ['Running for', text(raw.DeviceUptime)],
        ['Firmware', [text(raw.FirmwareVersion), text(raw.FirmwareState)].filter(Boolean).join(', ')],
        ['Release', [text(raw.ReleaseVersion), text(raw.BuildNumber)].filter(Boolean).join(', build ')]]),
      table('Stations and hosts', ['MAC', 'Port', 'Signal', 'Rate'], device.hosts.map((host) => [host.mac, portName(device, host.port),
        host.wifi ? signalText(host.wifi) : KIND_NAMES[host.kind], host.wifi ? rateText(host.wifi.rate) : ''])),
      table('Ports', ['Name', 'Medium', 'Power', 'MAC'], device.ports.map((port) => [port.name, mediaName(port.media), port.power.replace('_', ' '), port.mac])));
    if (focused) at('details').focus();
  }

  // ---- The news ---------------------------------------------------------------------------------

  const lines = new Map(); // key of an event -> its element

  function showNews() {
    const nameOf = (id) => state.names.get(id) ?? id;
    const events = readEvents(state.log, state.devices.keys().next().value);
    const wanted = events.map((event) => {
      let line = lines.get(event.key);
      if (line === undefined) {
        line = element('li', undefined, event.isNew ? 'came' : 'went');
        const time = line.appendChild(element('time', event.stamp.slice(11)));
        time.dateTime = event.stamp;
        time.title = event.stamp.replace('T', ' ');
        line.append(element('span'));
        lines.set(event.key, line);
      }
      const who = `${event.isHost ? 'host ' : ''}${nameOf(event.id)}`;
      const by = event.reporters.size === 1 ? nameOf([...event.reporters][0]) : `${event.reporters.size} devices`;
      const joined = event.isHost ? `${who} is connected to ${by}` : `${who} has joined`;
      setText(line.lastChild, event.isNew ? joined : event.isLost ? `${who} is lost` : `${who} is no longer heard by ${by}`);
      return line;
    });
    arrangeChildren(at('events'), wanted.length > 0 ? wanted : [element('li', 'No news yet')]);
    const current = new Set(events.map((event) => event.key));
    for (const key of lines.keys()) if (!current.has(key)) lines.delete(key);
  }

  // ---- The drawing ------------------------------------------------------------------------------

  const RADIUS = 15, OWN_RADIUS = 20, LABEL_HEIGHT = 34, LETTER = 7.2;
  const svg = d3.select('#picture');
  const world = svg.append('g');
  const edges = world.append('g');
  const nodes = world.append('g');
  const spots = new Map(); // AL MAC -> {x, y}, which only "Arrange" changes
  const zoom = d3.behavior.zoom().scaleExtent([0.05, 3]).on('zoom', () => {
    world.attr('transform', `translate(${d3.event.translate})scale(${d3.event.scale})`);
    showLabels(d3.event.scale);
    isFitted = false;
  });
  let isFitted = true; // the user has not moved it
  svg.call(zoom).on('dblclick.zoom', null);

  const shorten = (name) => (name.length > LONGEST_LABEL ? `${name.slice(0, LONGEST_LABEL - 1)}…` : name);
  const halfWidth = (device) => Math.max(44, LETTER * Math.max(shorten(device.name).length, linkText(device).length * 0.85)) / 2 + 6;
  // The room of a device and its label around its spot.
  function boxAt(device, spot) {
    const width = halfWidth(device);
    return { left: spot.x - width, right: spot.x + width, top: spot.y - OWN_RADIUS - 4, bottom: spot.y + OWN_RADIUS + LABEL_HEIGHT };
  }
  const overlapX = (a, b) => Math.min(a.right, b.right) - Math.max(a.left, b.left);
  const overlapY = (a, b) => Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top);

  // Moves overlapping boxes apart, along the shorter way.
  function spread(placed) {
    for (let round = 0; round < 200; round++) {
      let moved = false;
      placed.sort((a, b) => a.y - b.y);
      for (let i = 0; i < placed.length; i++) {
        for (let j = i + 1; j < placed.length; j++) {
          const a = boxAt(placed[i].device, placed[i]), b = boxAt(placed[j].device, placed[j]);
          if (b.top > a.bottom) {
            if (placed[j].y - placed[i].y > 3 * LABEL_HEIGHT) break;
            continue;
          }
          const x = overlapX(a, b), y = overlapY(a, b);
          if (x <= 0 || y <= 0) continue;
          moved = true;
          const [axis, amount] = x < y ? ['x', x] : ['y', y];
          const sign = placed[i][axis] <= placed[j][axis] ? 1 : -1;
          placed[i][axis] -= sign * (amount / 2 + 0.5);
          placed[j][axis] += sign * (amount / 2 + 0.5);
        }
      }
      if (!moved) break;
    }
  }

  // Places all devices: a radial tree, which forces then relax.
  function arrange() {
    const root = state.devices.values().next().value;
    const tree = d3.layout.tree().size([2 * Math.PI, 1]).children((node) => (node.children?.length > 0 ? node.children : null))
      .separation((a, b) => (a.parent === b.parent ? 1 : 2) / Math.max(1, a.depth));
    const wrap = (device) => ({ device, children: device.children.map(wrap) });
    const placed = tree.nodes(wrap(root));
    for (const node of placed) {
      const angle = node.x, distance = 150 * node.depth;
      node.x = distance * Math.cos(angle);
      node.y = distance * Math.sin(angle);
    }
    placed[0].fixed = true;
    placed[0].x = placed[0].y = placed[0].px = placed[0].py = 0;
    const many = placed.length > 60;
    const force = d3.layout.force().size([0, 0]).nodes(placed).gravity(many ? 0.06 : 0.02).charge(many ? -260 : -900)
      .linkDistance((link) => 95 + 12 * Math.sqrt(link.source.device.children.length)).linkStrength(0.9)
      .links(placed.filter((node) => node.parent).map((node) => ({ source: node.parent, target: node })));
    force.start();
    for (let i = 0; i < (many ? 150 : 300); i++) force.tick();
    force.stop();
    // The longer extent along the longer side; labels are wide, so rather from left to right.
    const extent = (axis) => d3.max(placed, (node) => node[axis]) - d3.min(placed, (node) => node[axis]);
    if ((extent('x') >= extent('y')) !== (1.2 * svg.node().clientWidth >= svg.node().clientHeight)) {
      for (const node of placed) [node.x, node.y] = [node.y, node.x];
    }
    spread(placed);
    for (const node of placed) spots.set(node.device.id, { x: node.x, y: node.y });
  }

  // Places a newcomer near its parent, where there is room. No other device moves.
  function place(device) {
    const from = spots.get(device.parent?.id) ?? { x: 0, y: 0 };
    const taken = [...state.devices.values()].filter((other) => spots.has(other.id)).map((other) => boxAt(other, spots.get(other.id)));
    const outward = Math.atan2(from.y, from.x);
    let best = null;
    for (let distance = 110; best === null && distance < 4000; distance += 55) {
      const tries = 24;
      for (let i = 0; i < tries && best === null; i++) {
        const angle = outward + (i % 2 === 0 ? 1 : -1) * Math.ceil(i / 2) * 2 * Math.PI / tries;
        const spot = { x: from.x + distance * Math.cos(angle), y: from.y + distance * Math.sin(angle) };
        const box = boxAt(device, spot);
        if (taken.every((other) => overlapX(box, other) <= 0 || overlapY(box, other) <= 0)) best = spot;
      }
    }
    spots.set(device.id, best ?? { x: from.x, y: from.y + 110 });
  }

  function layOut() {
    for (const id of spots.keys()) if (!state.devices.has(id)) spots.delete(id);
    const newcomers = [...state.devices.values()].filter((device) => !spots.has(device.id));
    if (newcomers.length > spots.size) arrange();
    else newcomers.sort((a, b) => a.depth - b.depth).forEach(place);
    return newcomers.length > 0;
  }

  function edgeClass(device) {
    const { uplink } = device;
    const health = healthOf(device);
    if (health === 'stale') return 'edge stale';
    return `edge ${uplink.isCertain ? uplink.kind : 'unsure'}${health !== 'good' ? ` ${health}` : ''}`;
  }
  const isDim = (device) => state.hits !== null && !state.hits.has(device.id);
  function nodeClass(device) {
    const selected = state.devices.get(state.selected);
    const near = selected && (selected === device || selected.parent === device || device.parent === selected);
    return ['node', healthOf(device), device.isOwn && 'own', device.children.length > 0 && 'inner', device.id === state.selected && 'selected',
      (near || state.hits?.has(device.id)) && 'near', isDim(device) && 'dim'].filter(Boolean).join(' ');
  }
  // So that far away more than dots can be read.
  function showLabels(scale) {
    svg.classed('far', scale < (state.devices.size > FEW ? 0.75 : 0.45)).classed('distant', scale < 0.3);
    svg.style('--grow', String(Math.min(6, Math.max(1, 0.75 / scale))));
  }

  function draw() {
    const isSlow = layOut() && isFitted;
    const shown = [...state.devices.values()];
    const spotOf = (device) => spots.get(device.id);
    const links = shown.filter((device) => device.parent).map((device) => ({ key: device.id, device, other: device.parent, type: edgeClass(device) }))
      .concat(...shown.map((device) => device.also.map((other) => ({ key: `${device.id} ${other.id}`, device, other, type: 'edge also' }))));
    const edge = edges.selectAll('path').data(links, (link) => link.key);
    edge.enter().append('path');
    edge.attr('class', (link) => `${link.type}${isDim(link.device) ? ' dim' : ''}`)
      .attr('d', (link) => {
        const a = spotOf(link.other), b = spotOf(link.device);
        if (!link.type.endsWith('also')) return `M${a.x},${a.y}L${b.x},${b.y}`;
        return `M${a.x},${a.y}Q${(a.x + b.x) / 2 + (b.y - a.y) / 5},${(a.y + b.y) / 2 - (b.x - a.x) / 5} ${b.x},${b.y}`;
      });
    edge.exit().remove();

    const node = nodes.selectAll('g.node').data(shown, (device) => device.id);
    const added = node.enter().append('g').on('click', (device) => select(device.id, false));
    added.append('title');
    added.append('circle').attr('r', (device) => (device.isOwn ? OWN_RADIUS : RADIUS));
    added.append('text').attr('class', 'load').attr('dy', '0.35em');
    const label = added.append('g').attr('class', 'label').attr('transform', (device) => `translate(0,${device.isOwn ? OWN_RADIUS : RADIUS})`);
    label.append('text').attr('class', 'name').attr('y', 15);
    label.append('text').attr('class', 'about').attr('y', 29);
    node.attr('class', nodeClass).attr('transform', (device) => `translate(${spotOf(device).x},${spotOf(device).y})`);
    node.select('title').text((device) => `${device.name}, ${linkText(device)}`);
    node.select('.load').text((device) => device.hosts.length || '');
    node.select('text.name').text((device) => shorten(device.name));
    node.select('text.about').text(linkText);
    node.exit().remove();
    if (isSlow) fit();
  }

  function fit() {
    const boxes = [...state.devices.values()].map((device) => boxAt(device, spots.get(device.id)));
    const { clientWidth: width, clientHeight: height } = svg.node();
    const left = d3.min(boxes, (box) => box.left), top = d3.min(boxes, (box) => box.top);
    const right = d3.max(boxes, (box) => box.right), bottom = d3.max(boxes, (box) => box.bottom);
    const head = 50, foot = 50; // of the buttons and the legend
    const scale = Math.min(1.3, (width - 20) / (right - left), (height - head - foot) / (bottom - top));
    moveTo(scale, [(width - scale * (left + right)) / 2, head + (height - head - foot - scale * (top + bottom)) / 2]);
    isFitted = true;
  }
  function moveTo(scale, translate) {
    zoom.scale(scale).translate(translate).event(svg);
  }
  function zoomBy(factor) {
    const { clientWidth: width, clientHeight: height } = svg.node();
    const scale = Math.min(3, Math.max(0.05, zoom.scale() * factor)), [x, y] = zoom.translate();
    const grown = scale / zoom.scale();
    moveTo(scale, [width / 2 - (width / 2 - x) * grown, height / 2 - (height / 2 - y) * grown]);
  }
  // Moves the drawing if the device is outside.
  function reveal(id) {
    const { clientWidth: width, clientHeight: height } = svg.node();
    const spot = spots.get(id), scale = Math.max(zoom.scale(), 0.45), [x, y] = zoom.translate();
    const seen = { x: spot.x * zoom.scale() + x, y: spot.y * zoom.scale() + y };
    if (scale === zoom.scale() && seen.x > 40 && seen.x < width - 40 && seen.y > 40 && seen.y < height - 80) return;
    moveTo(scale, [width / 2 - spot.x * scale, height / 2 - spot.y * scale]);
  }

  at('closer').addEventListener('click', () => zoomBy(1.4));
  at('farther').addEventListener('click', () => zoomBy(1 / 1.4));
  at('fit').addEventListener('click', fit);
  at('arrange').addEventListener('click', () => {
    arrange();
    draw();
    fit();
  });
  new ResizeObserver(() => {
    if (isFitted && spots.size > 0) fit();
  }).observe(svg.node());

  // ---- Everything -------------------------------------------------------------------------------

  function select(id, isFromList) {
    state.selected = id;
    showList();
    showDetails();
    draw();
    if (isFromList) reveal(id);
    say(`${state.devices.get(id).name}: ${linkText(state.devices.get(id))}`);
  }

  function search() {
    const words = at('search').value.trim().toLowerCase();
    const matches = (device) => [device.name, device.id, device.ip, ...device.ports.map((port) => port.mac),
      ...device.hosts.map((host) => host.mac)].some((value) => value.toLowerCase().includes(words));
    const found = words === '' ? null : [...state.devices.values()].filter(matches);
    state.hits = found && new Set(found.map((device) => device.id));
    setText(at('found'), found === null ? '' : `${found.length} found`);
    showList();
    draw();
    return found;
  }
  at('search').addEventListener('input', search);
  at('find').addEventListener('submit', (event) => {
    event.preventDefault();
    const found = search();
    if (found?.length > 0) select(found.sort(byName)[0].id, true);
  });
  document.addEventListener('keydown', (event) => {
    if (event.key !== 'Escape' || state.devices.size === 0) return;
    at('search').value = '';
    state.selected = null;
    search();
    showDetails();
  });

  function setTheme(isDark) {
    document.documentElement.dataset.theme = isDark ? 'dark' : 'light';
    at('theme').setAttribute('aria-pressed', String(isDark));
  }
  const systemTheme = matchMedia('(prefers-color-scheme: dark)');
  let stored = null;
  try { stored = localStorage.getItem('theme'); } catch { /* not allowed here */ }
  setTheme(stored === null ? systemTheme.matches : stored === 'dark');
  systemTheme.addEventListener('change', () => stored === null && setTheme(systemTheme.matches));
  at('theme').addEventListener('click', () => {
    stored = document.documentElement.dataset.theme === 'dark' ? 'light' : 'dark';
    setTheme(stored === 'dark');
    try { localStorage.setItem('theme', stored); } catch { /* until the page is closed */ }
  });

  function showAll() {
    performance.mark('show');
    const all = [...state.devices.values()], stale = all.filter((device) => healthOf(device) === 'stale').length;
    const weak = all.filter((device) => healthOf(device) === 'weak').length;
    setText(at('summary'), [count(all.length, 'device', 'devices'), stale > 0 && `${stale} not heard`, weak > 0 && `${weak} weak`,
      `changed at ${clock(state.changed)}`].filter(Boolean).join(' · '));
    if (state.hits !== null) search();
    showList();
    draw();
    showDetails();
    showNews();
    performance.measure('show', 'show');
  }

  function trouble(sentence) {
    at('trouble').hidden = sentence === '';
    setText(at('trouble'), sentence);
    document.body.classList.toggle('cut', sentence !== '');
  }

  const seen = new Map(); // name of a file -> its text, in order to leave out what is unchanged

  // Calls take with the file if it has changed, and returns whether it has.
  async function look(name, take) {
    const answer = await fetch(`data/${name}`, { cache: 'no-cache', signal: AbortSignal.timeout(PATIENCE) });
    if (!answer.ok) throw new Error(answer.status === 404 ? 'there is no data yet' : `the web server answers ${answer.status}`);
    const content = await answer.text();
    if (seen.get(name) === content) return false;
    performance.mark('take');
    const time = Date.parse(answer.headers.get('Last-Modified')) || Date.now();
    take(JSON.parse(content), time);
    seen.set(name, content);
    performance.measure('take', 'take');
    return true;
  }

  async function poll() {
    const rest = await Promise.allSettled([
      look('vm1905_APautoconfig.json', (file) => { state.settings = readSettings(file); }),
      look('vm1905_log.json', (file) => { state.log = file; }),
    ]);
    let isNew = rest.some((result) => result.value === true);
    try {
      isNew = await look('vm1905.json', (file, time) => {
        takeMesh(readMesh(file), Date.now());
        state.changed = time;
      }) || isNew;
      trouble('');
    } catch (error) {
      const reason = error instanceof SyntaxError || error instanceof TypeError && error.message !== 'Failed to fetch'
        ? 'the data cannot be read' : error.message === 'Failed to fetch' || error.name === 'TimeoutError' ? 'no answer' : error.message;
      trouble(state.changed === null ? `No data: ${reason}.` : `No new data: ${reason}. This is the mesh of ${clock(state.changed)}.`);
    }
    if ((forget(Date.now()) || isNew) && state.changed !== null) showAll();
    setTimeout(poll, POLL);
  }
  poll();
})();
