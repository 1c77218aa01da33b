"""What a simulated Mac's I/O Registry is made of: its entries, and the chains of them from a bus to a disk."""

SUPERCLASSES = {
    "AppleKauaiATA": "MacIOATA", "AppleK2SATA": "IOATAController", "AppleK2SATARoot": "IOService",
    "AppleMacRISC4PE": "ApplePlatformExpert", "AppleMacRiscHT": "IOPCIBridge", "AppleMacRiscPCI": "IOPCIBridge",
    "ApplePlatformExpert": "IODTPlatformExpert", "ATADeviceNub": "IOATADevice", "IOApplePartitionScheme":
    "IOPartitionScheme", "IOATABlockStorageDevice": "IOBlockStorageDevice", "IOATABlockStorageDriver": "IOService",
    "IOATAController": "IOService", "IOATADevice": "IOService", "IOBlockStorageDevice": "IOService",
    "IOBlockStorageDriver": "IOStorage", "IOBlockStorageServices": "IOBlockStorageDevice",
    "IODTNVRAM": "IOService", "IODTPlatformExpert": "IOPlatformExpert", "IOFireWireController": "IOFireWireBus",
    "IOFireWireBus": "IOService", "AppleFWOHCI": "IOFireWireController", "IOFireWireDevice": "IOFireWireNub",
    "IOFireWireNub": "IOService", "IOFireWireUnit": "IOFireWireNub", "IOFireWireSBP2Target": "IOService",
    "IOFireWireSBP2LUN": "IOService", "IOFireWireSerialBusProtocolTransport": "IOSCSIProtocolServices",
    "IOSCSIProtocolServices": "IOSCSIProtocolInterface", "IOSCSIProtocolInterface": "IOService",
    "IOSCSIPeripheralDeviceNub": "IOSCSIProtocolServices", "IOSCSIPeripheralDeviceType00":
    "IOSCSIBlockCommandsDevice", "IOSCSIBlockCommandsDevice": "IOSCSIPrimaryCommandsDevice",
    "IOSCSIPrimaryCommandsDevice": "IOSCSIProtocolInterface", "IOGUIDPartitionScheme": "IOPartitionScheme",
    "IOMedia": "IOStorage", "IOMediaBSDClient": "IOService", "IOPartitionScheme": "IOStorage",
    "IOPCIBridge": "IOService", "IOPCIDevice": "IOService", "IOPlatformDevice": "IOService",
    "IOPlatformExpert": "IOService", "IOPlatformExpertDevice": "IOService", "IOResources": "IOService",
    "IOService": "IORegistryEntry", "IOStorage": "IOService", "MacIOATA": "IOATAController",
    "MacRISC2PE": "ApplePlatformExpert", "IOHIDSystem": "IOService", "IOBSDConsole": "IOService",
    "IOFilterScheme": "IOStorage", "IOCDMedia": "IOMedia", "IODVDMedia": "IOMedia",
    "IOFDiskPartitionScheme": "IOPartitionScheme", "AppleUSBEHCI": "IOUSBControllerV2", "IOUSBControllerV2":
    "IOUSBController", "IOUSBController": "IOUSBBus", "IOUSBBus": "IOService", "IOUSBRootHubDevice": "IOUSBDevice",
    "IOUSBDevice": "IOUSBNub", "IOUSBInterface": "IOUSBNub", "IOUSBNub": "IOService", "AppleUSBHub": "IOService",
    "AppleUSBComposite": "IOService", "IOUSBMassStorageClass": "IOSCSIProtocolServices",
    "com_halvorix_driver_Halvorix": "IOService", "com_halvorix_driver_HalvorixVolume": "IOBlockStorageDevice",
    "IORegistryEntry": "OSObject",
}
# Those of rarer disks.
DISK_SUPERCLASSES = {
    "AppleFusionFC": "IOSCSIParallelInterfaceController", "AppleLSIFusionSAS": "IOSCSIParallelInterfaceController",
    "AppleUltraSCSI": "IOSCSIParallelInterfaceController", "IOATAPIProtocolTransport": "IOSCSIProtocolServices",
    "IOCDBlockStorageDriver": "IOBlockStorageDriver",
    "IODVDBlockStorageDriver": "IOCDBlockStorageDriver", "IODVDServices": "IOBlockStorageServices",
    "IOHDIXController": "IOService", "IOHDIXHDDriveInKernel": "IOBlockStorageDevice",
    "IOSCSILogicalUnitNub": "IOSCSIPeripheralDeviceNub",
    "IOSCSIParallelInterfaceController": "IOService", "IOSCSIParallelInterfaceDevice": "IOSCSIProtocolServices",
    "IOSCSIPeripheralDeviceType05": "IOSCSIMultimediaCommandsDevice", "IOSCSIMultimediaCommandsDevice":
    "IOSCSIPrimaryCommandsDevice", "IOSCSITargetDevice": "IOSCSIPrimaryCommandsDevice", "KDIFileBackingStore":
    "IOService", "KDIUDIFDiskImage": "IOService",
}


class Entry:
    """A registry entry. `tree` is its name and location in the device tree, for those that stand there too.

    `nodes` stand below it in the device tree alone, as firmware leaves them that no driver serves.
    """

    def __init__(self, class_name, name, properties=None, location=None, tree=None, children=()):
        self.class_name, self.name, self.location, self.tree = class_name, name, location, tree
        self.properties = dict(properties or {})
        self.children = list(children)
        self.nodes = []

    def below(self, *children):
        """Adds children; returns the last one, so that chains read downward."""
        self.children.extend(children)
        return children[-1]

    def number(self, identifier):
        """Gives identifiers, parents first. Returns the next one."""
        self.identifier = identifier
        identifier += 1
        for child in self.nodes + self.children:
            identifier = child.number(identifier)
        return identifier

    def service_plane(self):
        return self.dictionary(self.name, self.location, [child.service_plane() for child in self.children])

    def tree_plane(self):
        children = [] if self.class_name == "IOMedia" else [*self.nodes, *self.tree_children()]
        return self.dictionary(self.tree[0], self.tree[1], [child.tree_plane() for child in children])

    def tree_children(self):
        """The nearest entries below that stand in the device tree; a disk's partitions stand beside it."""
        for child in self.children:
            if child.tree:
                yield child
            if not child.tree or child.class_name == "IOMedia":
                yield from child.tree_children()

    def dictionary(self, name, location, children):
        result = {"IOObjectClass": self.class_name, "IORegistryEntryName": name, "IORegistryEntryID": self.identifier}
        if location is not None:
            result["IORegistryEntryLocation"] = location
        result.update(sorted(self.properties.items()))
        if children:
            result["IORegistryEntryChildren"] = children
        return result

    def classes(self):
        yield self.class_name
        for child in self.nodes + self.children:
            yield from child.classes()


def text(value):
    """A device-tree text: bytes that end with a zero."""
    return value.encode() + b"\0"


def driver(class_name, provider, bundle, **more):
    """The properties that every matched driver publishes."""
    return dict({"CFBundleIdentifier": bundle, "IOClass": class_name, "IOMatchCategory": "IODefaultMatchCategory",
                 "IOProbeScore": 0, "IOProviderClass": provider}, **more)


STORAGE = "com.apple.iokit.IOStorageFamily"


class Numbers:
    """The BSD minor numbers of one machine, in the order in which its media appear."""

    def __init__(self):
        self.minor = -1

    def next(self):
        self.minor += 1
        return self.minor


def medium(numbers, bsd_name, name, size, content, hint, whole, leaf, writable=True, removable=False, external=False,
           class_name="IOMedia", **where):
    unit = int(bsd_name[4:].split("s")[0])
    properties = {"BSD Major": 14, "BSD Minor": numbers.next(), "BSD Name": bsd_name, "BSD Unit": unit,
                  "Content": content, "Content Hint": hint, "Ejectable": removable, "Leaf": leaf,
                  "Preferred Block Size": 512 if class_name == "IOMedia" else 2048, "Removable": removable,
                  "Size": size, "Whole": whole, "Writable": writable}
    if whole:
        icon = "Removable.icns" if removable else "External.icns" if external else "Internal.icns"
        properties["IOMediaIcon"] = {"CFBundleIdentifier": STORAGE, "IOBundleResourceFile": icon}
    else:
        properties["Partition ID"] = int(where["location"])
    entry = Entry(class_name, name, properties, **where)
    entry.below(Entry("IOMediaBSDClient", "IOMediaBSDClient",
                      driver("IOMediaBSDClient", "IOMedia", STORAGE, IOMatchCategory="IOMediaBSDClient",
                             IOProbeScore=30000, IOResourceMatch="IOBSD")))
    return entry


APPLE_MAP, GUID_MAP, FDISK_MAP = "Apple_partition_scheme", "GUID_partition_scheme", "FDisk_partition_scheme"
# The scheme's class, and how eagerly it looks at a disk.
SCHEMES = {APPLE_MAP: ("IOApplePartitionScheme", 2000), GUID_MAP: ("IOGUIDPartitionScheme", 4000),
           FDISK_MAP: ("IOFDiskPartitionScheme", 3000)}
HFS, MAP, BOOT, RAID = "Apple_HFS", "Apple_partition_map", "Apple_Boot", "Halvorix_RAID"
FAT, ISO, UDF = "DOS_FAT_32", "CD_ROM_Mode_1", "UDF"
GUIDS = {"EFI": "C12A7328-F81F-11D2-BA4B-00A0C93EC93B", HFS: "48465300-0000-11AA-AA11-00306543ECAC",
         BOOT: "426F6F74-0000-11AA-AA11-00306543ECAC", RAID: "5C5D1F40-7B3E-4B0A-9E61-2F8A37C0D915"}
MEGABYTE, GIGABYTE = 1024 ** 2, 1000 ** 3   # as partitions are aligned, as disks are sold


def disk(numbers, bsd_name, name, size, scheme, partitions, unit=None, writable=True, **more):
    """A whole medium with its partition map and partitions: (slice, name, content, size)."""
    tree = ("", unit + ":0") if unit is not None else None
    whole = medium(numbers, bsd_name, name + " Media", size, scheme, "", True, False, writable, tree=tree, **more)
    scheme_class, score = SCHEMES[scheme]
    table = whole.below(Entry(scheme_class, scheme_class, driver(
        scheme_class, "IOMedia", STORAGE, IOMatchCategory="IOStorage", IOProbeScore=score,
        **{"Content Mask": scheme, "IOPropertyMatch": {"Whole": True}})))
    for number, part_name, content, part_size in partitions:
        hint = GUIDS[content] if scheme == GUID_MAP else content
        table.below(medium(numbers, f"{bsd_name}s{number}", part_name, part_size, hint, hint, False, True,
                           writable=writable and content != MAP, removable=more.get("removable", False),
                           location=str(number), tree=("", f"{unit}:{number}") if unit is not None else None))
    return whole


def storage_driver(class_name="IOBlockStorageDriver"):
    return Entry(class_name, class_name, driver(
        class_name, "IOBlockStorageDevice", STORAGE, IOPropertyMatch={"device-type": "Generic"},
        Statistics={"Bytes (Read)": 101324800, "Bytes (Write)": 17201152, "Operations (Read)": 5475,
                    "Operations (Write)": 1157, "Errors (Read)": 0, "Errors (Write)": 0}))


def ata_disk(controller, unit, interconnect, model, serial, revision, whole):
    """The chain from a controller's nub to the medium of an ATA or SATA disk."""
    nub = controller.below(Entry("ATADeviceNub", "ATADeviceNub", {
        "IOUnit": unit, "ata device type": "ata", "device model": model.ljust(40), "device revision":
        revision.ljust(8), "device serial": serial.ljust(20), "socket type": "internal", "unit number": unit},
        location=str(unit)))
    block = nub.below(Entry("IOATABlockStorageDriver", "IOATABlockStorageDriver", driver(
        "IOATABlockStorageDriver", "IOATADevice", "com.apple.iokit.IOATABlockStorage",
        **{"Physical Interconnect": interconnect, "Physical Interconnect Location": "Internal"})))
    device = block.below(Entry("IOATABlockStorageDevice", "IOATABlockStorageDevice", {
        "Device Characteristics": {"Product Name": model.ljust(40), "Product Revision Level": revision.ljust(8)},
        "Protocol Characteristics": {"Physical Interconnect": interconnect,
                                     "Physical Interconnect Location": "Internal"},
        "IOUserClientClass": "ATASMARTUserClient", "SMART Capable": True, "device-type": "Generic"}))
    device.below(storage_driver()).below(whole)


def firewire_disk(controller, guid, vendor, product, whole, revision="1.02"):
    """The chain from a FireWire bus to the medium of a disk on it, or in a drive on it."""
    names = {"FireWire Vendor Name": vendor, "FireWire Product Name": product}
    device = controller.below(Entry("IOFireWireDevice", "IOFireWireDevice", dict(names, GUID=guid),
                                    location=f"{guid:x}"))
    unit = device.below(Entry("IOFireWireUnit", "IOFireWireUnit", {"Unit_SW_Version": 66691, "Unit_Spec_ID": 24734}))
    target = unit.below(Entry("IOFireWireSBP2Target", "IOFireWireSBP2Target", driver(
        "IOFireWireSBP2Target", "IOFireWireUnit", "com.apple.iokit.IOFireWireSBP2", GUID=guid)))
    lun = target.below(Entry("IOFireWireSBP2LUN", "IOFireWireSBP2LUN", {"GUID": guid, "SBP2LUN": 0}))
    protocol = {"Physical Interconnect": "FireWire", "Physical Interconnect Location": "External"}
    transport = lun.below(Entry(
        "IOFireWireSerialBusProtocolTransport", "IOFireWireSerialBusProtocolTransport", driver(
            "IOFireWireSerialBusProtocolTransport", "IOFireWireSBP2LUN",
            "com.apple.iokit.IOFireWireSerialBusProtocolTransport", **{"Protocol Characteristics": protocol})))
    scsi_disk(transport, protocol, vendor, product, revision, whole)


def usb_disk(controller, location, vendor, product, revision, whole, address=2, serial=None):
    """The chain from a USB controller to the medium of a disk in one of its ports."""
    hub = controller.below(Entry("IOUSBRootHubDevice", "EHCI Root Hub Simulation", {"locationID": location & ~0xfffff},
                                 location=f"{location >> 24:x}"))
    hub.below(Entry("AppleUSBHub", "AppleUSBHub", driver("AppleUSBHub", "IOUSBDevice", "com.apple.driver.AppleUSBHub")))
    device = hub.below(Entry("IOUSBDevice", product, {
        "Device Speed": 2, "USB Address": address, "USB Product Name": product, "USB Vendor Name": vendor,
        "bDeviceClass": 0, "bDeviceSubClass": 0, "idProduct": 0x5591, "idVendor": 0x0781, "locationID": location,
        **({"USB Serial Number": serial} if serial else {})}, location=f"{location:x}"))
    device.below(Entry("AppleUSBComposite", "AppleUSBComposite", driver(
        "AppleUSBComposite", "IOUSBDevice", "com.apple.driver.AppleUSBComposite", IOProbeScore=50000)))
    interface = device.below(Entry("IOUSBInterface", "IOUSBInterface", {
        "bInterfaceClass": 8, "bInterfaceNumber": 0, "bInterfaceProtocol": 80, "bInterfaceSubClass": 6,
        "locationID": location}, location="0"))
    protocol = {"Physical Interconnect": "USB", "Physical Interconnect Location": "External"}
    storage = interface.below(Entry("IOUSBMassStorageClass", "IOUSBMassStorageClass", driver(
        "IOUSBMassStorageClass", "IOUSBInterface", "com.apple.iokit.IOUSBMassStorageClass", IOProbeScore=50000,
        **{"Protocol Characteristics": protocol}, **protocol)))
    scsi_disk(storage, protocol, vendor, product, revision, whole)


def scsi_disk(transport, protocol, vendor, product, revision, whole, nub=None):
    """The chain from what carries SCSI commands to the medium of the disk or in the drive that they reach.

    nub: the entry of the device, for transports that have one of their own.
    """
    optical = whole.class_name in ("IOCDMedia", "IODVDMedia")
    number = "05" if optical else "00"
    nub = transport.below(nub or Entry("IOSCSIPeripheralDeviceNub", "IOSCSIPeripheralDeviceNub"))
    nub.properties.update({"Peripheral Device Type": int(number), "Product Identification": product,
                           "Product Revision Level": revision, "Protocol Characteristics": protocol,
                           "Vendor Identification": vendor})
    commands_class = "IOSCSIPeripheralDeviceType" + number
    commands = nub.below(Entry(commands_class, commands_class, driver(
        commands_class, "IOSCSIPeripheralDeviceNub", "com.apple.iokit.IOSCSIArchitectureModelFamily")))
    services_class = "IODVDServices" if optical else "IOBlockStorageServices"
    services = commands.below(Entry(services_class, services_class, {
        "Device Characteristics": {"Product Name": product, "Product Revision Level": revision, "Vendor Name": vendor},
        "Protocol Characteristics": protocol, "device-type": "DVD" if optical else "Generic"}))
    services.below(storage_driver("IODVDBlockStorageDriver") if optical else storage_driver()).below(whole)


def atapi_drive(controller, unit, vendor, product, revision, serial, whole):
    """The chain from a controller's nub to the medium in an ATAPI drive."""
    nub = controller.below(Entry("ATADeviceNub", "ATADeviceNub", {
        "IOUnit": unit, "ata device type": "atapi", "device model": f"{vendor} {product}".ljust(40),
        "device revision": revision.ljust(8), "device serial": serial.ljust(20), "socket type": "internal",
        "unit number": unit}, location=str(unit)))
    protocol = {"Physical Interconnect": "ATAPI", "Physical Interconnect Location": "Internal", "unit number": unit}
    transport = nub.below(Entry("IOATAPIProtocolTransport", "IOATAPIProtocolTransport", driver(
        "IOATAPIProtocolTransport", "IOATADevice", "com.apple.iokit.IOATAPIProtocolTransport",
        **{"Protocol Characteristics": protocol})))
    scsi_disk(transport, protocol, vendor, product, revision, whole)


def parallel_disk(controller, interconnect, target, unit, vendor, product, revision, whole, device=None, nub=None,
                  **protocol):
    """The chain from a SCSI, SAS or Fibre Channel card to the medium of a disk.

    device, nub: more properties of the target and of its logical unit; protocol: of the interconnect.
    """
    protocol = {"Physical Interconnect": interconnect, "Physical Interconnect Location": "External", **protocol}
    address = controller.below(Entry("IOSCSIParallelInterfaceDevice", "IOSCSIParallelInterfaceDevice", {
        "IOUnit": target, "Protocol Characteristics": protocol, **(device or {})}, location=f"{target:x}"))
    reached = address.below(Entry("IOSCSITargetDevice", "IOSCSITargetDevice", {
        "Peripheral Device Type": 0, "Protocol Characteristics": protocol}))
    scsi_disk(reached, protocol, vendor, product, revision, whole, Entry(
        "IOSCSILogicalUnitNub", "IOSCSILogicalUnitNub", {"IOUnitLUN": unit, **(nub or {})}, location=str(unit)))


def disk_image(controller, number, path, whole, backing=True):
    """The chain from the disk-image controller to the medium of an image that is attached.

    backing: whether the kernel reads the file, which shows as a backing store, or a program does.
    """
    product = {"Product Name": "Disk Image", "Vendor Name": "Apple"}
    above = controller
    if backing:
        above = above.below(Entry("KDIUDIFDiskImage", "KDIUDIFDiskImage", {"KDIEncryption": False}))
        above = above.below(Entry("KDIFileBackingStore", "KDIFileBackingStore", {"KDIURLPath": path.encode()}))
    drive = above.below(Entry("IOHDIXHDDriveInKernel", f"IOHDIXHDDriveInKernel{number}", {
        "Device Characteristics": product, "Protocol Characteristics": {
            "Physical Interconnect": "Virtual Interface", "Physical Interconnect Location": "File"},
        "device-type": "Generic", "image-path": path.encode()}))
    drive.below(storage_driver()).below(whole)


def raid_driver(volumes):
    """The RAID driver with its volumes: (number, volume identifier, whole medium)."""
    entry = Entry("com_halvorix_driver_Halvorix", "com_halvorix_driver_Halvorix", driver(
        "com_halvorix_driver_Halvorix", "IOResources", "com.halvorix.driver.Halvorix",
        IOMatchCategory="com_halvorix_driver_Halvorix", IOResourceMatch="IOKit"))
    for number, identifier, whole in volumes:
        device = entry.below(Entry("com_halvorix_driver_HalvorixVolume", "HalvorixVolume", {
            "Halvorix Volume ID": identifier, "device-type": "Generic",
            "Device Characteristics": {"Product Name": "RAID Volume", "Vendor Name": "Halvorix"}},
            location=str(number)))
        device.below(storage_driver()).below(whole)
    return entry


def find(entry, bsd_name):
    if entry.properties.get("BSD Name") == bsd_name:
        return entry
    return next(filter(None, (find(child, bsd_name) for child in entry.children)), None)


def service_path(entry, bsd_name, path="IOService:"):
    """The path of a medium in the IOService plane; the computer's own entry has no part in it."""
    if entry.class_name not in ("IORegistryEntry", "IOPlatformExpertDevice"):
        path += "/" + entry.name + ("@" + entry.location if entry.location is not None else "")
    if entry.properties.get("BSD Name") == bsd_name:
        return path
    return next(filter(None, (service_path(child, bsd_name, path) for child in entry.children)), None)


def resources():
    return Entry("IOResources", "IOResources", {"IOBSD": "IOService", "IOKit": "IOService", "IONVRAM": "IOService",
                                                "WindowServer": "IOService"},
                 children=[Entry("IOHIDSystem", "IOHIDSystem", driver(
                     "IOHIDSystem", "IOResources", "com.apple.iokit.IOHIDSystem", IOMatchCategory="IOHID"))])


def media(entry):
    """All media below an entry."""
    if "BSD Name" in entry.properties:
        yield entry
    for child in entry.children:
        yield from media(child)


def computer(model, compatible, expert, kernel, boot_device, aliases):
    """Root, the platform expert's device, the expert and the firmware variables. Returns the first three."""
    root = Entry("IORegistryEntry", "Root", {
        "IOKitBuildVersion": kernel, "IORegistryPlanes": {"IODeviceTree": "IODeviceTree", "IOService": "IOService"}},
        tree=("Root", None))
    device = root.below(Entry("IOPlatformExpertDevice", model, {
        "IOPlatformSerialNumber": "XB4170XYPNA", "compatible": text(model) + text(compatible) +
        text("Power Macintosh"), "model": text(model), "name": text("device-tree")}, tree=("/", None)))
    device.nodes = [
        Entry("IOService", "chosen", {"bootargs": text(""), "bootpath": text(boot_device), "name": text("chosen")},
              tree=("chosen", None)),
        Entry("IOService", "aliases", {"name": text("aliases"), **{name: text(path) for name, path in aliases.items()}},
              tree=("aliases", None))]
    platform = device.below(Entry(expert, expert, driver(
        expert, "IOPlatformExpertDevice", "com.apple.driver." + expert.replace("MacRISC2PE", "AppleMacRISC2PE"),
        IONameMatched=compatible)))
    platform.below(Entry("IODTNVRAM", "options", {
        "auto-boot?": True, "boot-args": "", "boot-command": "mac-boot", "boot-device": boot_device, "boot-file": "",
        "little-endian?": False, "real-base": (1 << 64) - 1, "use-nvramrc?": False}, tree=("options", None)))
    return root, device, platform


def bus(platform, name, location, class_name, driver_class, tree_location=None):
    """A bus node of the platform with the driver that serves it. Returns the driver."""
    node = platform.below(Entry("IOPlatformDevice", name, {"device_type": text(name), "name": text(name)},
                                location=location, tree=(name, tree_location or location)))
    return node.below(Entry(driver_class, driver_class, driver(driver_class, class_name,
                                                               "com.apple.driver." + driver_class)))


def controller(parent, name, location, driver_class, bundle):
    """A PCI device with the driver that serves it. Returns the driver."""
    node = parent.below(Entry("IOPCIDevice", name, {"device_type": text(name.split("-")[0]), "name": text(name)},
                              location=location, tree=(name, location)))
    return node.below(Entry(driver_class, driver_class, driver(driver_class, "IOPCIDevice", bundle)))


def card(parent, name, location, driver_class):
    return controller(parent, name, location, driver_class, "com.apple.driver." + driver_class)


def ata(parent, name, location):
    return controller(parent, name, location, "AppleKauaiATA", "com.apple.driver.AppleKauaiATA")


def firewire(parent, location):
    return controller(parent, "firewire", location, "AppleFWOHCI", "com.apple.driver.AppleFWOHCI")


def usb(parent, location):
    return controller(parent, "usb", location, "AppleUSBEHCI", "com.apple.driver.AppleUSBEHCI")
