"""What stands in a real Power Mac's I/O Registry beside its disks: the board and what is plugged into it.

Nobody asks these entries for anything. They are there because a Mac has them: who walks the registry meets hundreds.
"""

import re

from making.registry import Entry, text

# Each class of these entries with its superclass.
SUPERCLASSES = dict(line.split() for line in """
    AppleFCU IOService
    AppleG5Onboard IOAudioDevice
    AppleI2S IOService
    AppleK2 IOService
    AppleMacIODevice IOService
    AppleMax6690 IOService
    AppleMPICInterruptController IOInterruptController
    AppleNMI IOService
    AppleOnboardAudioEngine IOAudioEngine
    AppleSCCSerial IOSerialDriverSync
    AppleU3 IOService
    AppleUSBOHCI IOUSBController
    AppleUSBOpticalMouse IOUSBHIDDriver
    AppleVIA IOService
    AppleVIADevice IOService
    ApplePMU IOService
    ATIRadeonAccelerator IOAccelerator
    ATIRadeonFramebuffer IOFramebuffer
    IOAccelerator IOService
    IOAGPDevice IOPCIDevice
    IOAudioControl IOService
    IOAudioControlUserClient IOUserClient
    IOAudioDevice IOService
    IOAudioEngine IOService
    IOAudioEngineUserClient IOUserClient
    IOAudioLevelControl IOAudioControl
    IOAudioSelectorControl IOAudioControl
    IOAudioStream IOService
    IOAudioToggleControl IOAudioControl
    IOCPU IOService
    IOCPUInterruptController IOInterruptController
    IODisplay IOService
    IODisplayConnect IOService
    IOEthernetController IONetworkController
    IOEthernetInterface IONetworkInterface
    IOFireWireIP IONetworkController
    IOFireWireLocalNode IOFireWireNub
    IOFWInterface IONetworkInterface
    IOFramebuffer IOService
    IOFramebufferI2CInterface IOService
    IOFramebufferUserClient IOUserClient
    IOHIDConsumer IOHIDevice
    IOHIDEventDriver IOService
    IOHIDInterface IOService
    IOHIDKeyboard IOHIDevice
    IOHIDParamUserClient IOUserClient
    IOHIDPointing IOHIDevice
    IOHIDUserClient IOUserClient
    IOHIDevice IOService
    IOHWControl IOService
    IOHWSensor IOService
    IOInterruptController IOService
    IONDRVDevice IOPlatformDevice
    IONetworkController IOService
    IONetworkInterface IOService
    IONetworkStack IOService
    IONetworkStackUserClient IOUserClient
    IOPlatformPlugin IOService
    IOPMrootDomain IOService
    IOPMURTCController IOService
    IOPMUPwrController IOService
    IORootParent IOService
    IOSerialBSDClient IOService
    IOSerialDriverSync IOService
    IOSerialStreamSync IOService
    IOUSBCompositeDriver IOService
    IOUSBHIDDriver IOHIDevice
    IOUserClient IOService
    K2GMAC IOEthernetController
    MacIOGPIO IOService
    MacIOGPIODevice AppleMacIODevice
    MacRISC4CPU IOCPU
    PowerMac7_2_PlatformPlugin IOPlatformPlugin
    PPCI2CInterface IOService
    RootDomainUserClient IOUserClient
    AppleDisplay IODisplay
    com_apple_BootCache IOService
""".strip().splitlines())

# Entries of these classes are devices that firmware found, so they stand in the device tree as well.
NODES = {"IOPlatformDevice", "IOPCIDevice", "IOAGPDevice", "AppleMacIODevice", "MacIOGPIODevice", "IONDRVDevice"}


# One line an entry: its name, with its location behind an @, its class, and how many there are of it, two
# blanks or more between them. It stands below the nearest line before it that is indented less.
BOARD = """
PowerPC,G5@0  IOPlatformDevice
  MacRISC4CPU  MacRISC4CPU
    IOCPUInterruptController  IOCPUInterruptController
PowerPC,G5@1  IOPlatformDevice
  MacRISC4CPU  MacRISC4CPU
IOPMrootDomain  IOPMrootDomain
  IORootParent  IORootParent
  RootDomainUserClient  RootDomainUserClient  9
cpus  IOPlatformDevice
pseudo-hid  IOPlatformDevice
pseudo-sound  IOPlatformDevice
diagnostics  IOPlatformDevice
nvram@0,fff04000  IOPlatformDevice
hw-clock  IOPlatformDevice
u3@0,f8000000  IOPlatformDevice
  AppleU3  AppleU3
    i2c@f8001000  IOPlatformDevice
      PPCI2CInterface  PPCI2CInterface
        cereal@1c0  PPCI2CInterface
        fan@15e  PPCI2CInterface
          AppleFCU  AppleFCU
            IOHWSensor  IOHWSensor  9
            IOHWControl  IOHWControl  12
        temp-monitor@98  PPCI2CInterface
          AppleMax6690  AppleMax6690
            IOHWSensor  IOHWSensor  2
        supply-monitor@58  PPCI2CInterface
          IOHWSensor  IOHWSensor  10
        supply-monitor@5a  PPCI2CInterface
          IOHWSensor  IOHWSensor  10
platform-plugin  IOPlatformDevice
  PowerMac7_2_PlatformPlugin  PowerMac7_2_PlatformPlugin
    IOHWSensor  IOHWSensor  24
    IOHWControl  IOHWControl  18
pci@0,f0000000  IOPlatformDevice
  AppleMacRiscPCI  AppleMacRiscPCI
    u3-agp@B  IOPCIDevice
    ATY,WhelkParent@10  IOAGPDevice
      ATIRadeonAccelerator  ATIRadeonAccelerator
      ATY,Whelk_A@0  IONDRVDevice
        ATIRadeonFramebuffer  ATIRadeonFramebuffer
          IOFramebufferI2CInterface  IOFramebufferI2CInterface
          display0  IODisplayConnect
            AppleDisplay  AppleDisplay
          IOFramebufferUserClient  IOFramebufferUserClient
      ATY,Whelk_B@1  IONDRVDevice
        ATIRadeonFramebuffer  ATIRadeonFramebuffer
          IOFramebufferI2CInterface  IOFramebufferI2CInterface
          display0  IODisplayConnect
            AppleDisplay  AppleDisplay
          IOFramebufferUserClient  IOFramebufferUserClient
"""

# What stands below the bridges of the second tunnel, beside the disks' controllers.
TUNNEL = """
pci@8  IOPCIDevice
  mac-io@7  IOPCIDevice
    AppleK2  AppleK2
      interrupt-controller@40000  AppleMacIODevice
        AppleMPICInterruptController  AppleMPICInterruptController
      gpio@50  AppleMacIODevice
        MacIOGPIO  MacIOGPIO
          extint-gpio1@59  MacIOGPIODevice
          extint-gpio2@5a  MacIOGPIODevice
          extint-gpio4@5c  MacIOGPIODevice
          extint-gpio14@66  MacIOGPIODevice
          extint-gpio15@67  MacIOGPIODevice
          extint-gpio16@68  MacIOGPIODevice
          gpio5@6f  MacIOGPIODevice
          gpio6@70  MacIOGPIODevice
          gpio11@75  MacIOGPIODevice
          gpio12@76  MacIOGPIODevice
          gpio13@77  MacIOGPIODevice
          programmer-switch@5f  MacIOGPIODevice
            AppleNMI  AppleNMI
      escc@13000  AppleMacIODevice
        ch-a@13020  AppleMacIODevice
          AppleSCCSerial  AppleSCCSerial
            IOSerialStreamSync  IOSerialStreamSync
              IOSerialBSDClient  IOSerialBSDClient
        ch-b@13000  AppleMacIODevice
          AppleSCCSerial  AppleSCCSerial
            IOSerialStreamSync  IOSerialStreamSync
              IOSerialBSDClient  IOSerialBSDClient
      i2s@10000  AppleMacIODevice
        AppleI2S  AppleI2S
          i2s-a@10000  AppleMacIODevice
            AppleG5Onboard  AppleG5Onboard
              AppleOnboardAudioEngine  AppleOnboardAudioEngine
                IOAudioStream  IOAudioStream  2
                IOAudioSelectorControl  IOAudioSelectorControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioSelectorControl  IOAudioSelectorControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioLevelControl  IOAudioLevelControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioLevelControl  IOAudioLevelControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioLevelControl  IOAudioLevelControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioToggleControl  IOAudioToggleControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioToggleControl  IOAudioToggleControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioEngineUserClient  IOAudioEngineUserClient  3
          i2s-c@12000  AppleMacIODevice
            AppleG5Onboard  AppleG5Onboard
              AppleOnboardAudioEngine  AppleOnboardAudioEngine
                IOAudioStream  IOAudioStream  2
                IOAudioSelectorControl  IOAudioSelectorControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioLevelControl  IOAudioLevelControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioToggleControl  IOAudioToggleControl
                  IOAudioControlUserClient  IOAudioControlUserClient  5
                IOAudioEngineUserClient  IOAudioEngineUserClient  3
      timer@15000  AppleMacIODevice
      via-pmu@16000  AppleMacIODevice
        AppleVIA  AppleVIA
          pmu  AppleVIADevice
            ApplePMU  ApplePMU
              IOPMURTCController  IOPMURTCController
              IOPMUPwrController  IOPMUPwrController
      i2c@18000  AppleMacIODevice
        PPCI2CInterface  PPCI2CInterface
          cereal@1c0  PPCI2CInterface
          deq@6a  PPCI2CInterface
pci@9  IOPCIDevice
  usb@8  IOPCIDevice
    AppleUSBOHCI  AppleUSBOHCI
      OHCI Root Hub Simulation@8  IOUSBRootHubDevice
        AppleUSBHub  AppleUSBHub
          Hub in Apple Pro Keyboard@8200000  IOUSBDevice
            AppleUSBHub  AppleUSBHub
            IOUSBInterface@0  IOUSBInterface
            Apple Pro Keyboard@8210000  IOUSBDevice
              IOUSBCompositeDriver  IOUSBCompositeDriver
              IOUSBInterface@0  IOUSBInterface
                IOUSBHIDDriver  IOUSBHIDDriver
                  IOHIDInterface  IOHIDInterface
                    IOHIDEventDriver  IOHIDEventDriver
                      IOHIDKeyboard  IOHIDKeyboard
                        IOHIDUserClient  IOHIDUserClient
                        IOHIDParamUserClient  IOHIDParamUserClient
              IOUSBInterface@1  IOUSBInterface
                IOUSBHIDDriver  IOUSBHIDDriver
                  IOHIDInterface  IOHIDInterface
                    IOHIDEventDriver  IOHIDEventDriver
                      IOHIDConsumer  IOHIDConsumer
                        IOHIDUserClient  IOHIDUserClient
                        IOHIDParamUserClient  IOHIDParamUserClient
            Apple Optical USB Mouse@8230000  IOUSBDevice
              IOUSBCompositeDriver  IOUSBCompositeDriver
              IOUSBInterface@0  IOUSBInterface
                AppleUSBOpticalMouse  AppleUSBOpticalMouse
                  IOHIDInterface  IOHIDInterface
                    IOHIDEventDriver  IOHIDEventDriver
                      IOHIDPointing  IOHIDPointing
                        IOHIDUserClient  IOHIDUserClient
                        IOHIDParamUserClient  IOHIDParamUserClient
  usb@9  IOPCIDevice
    AppleUSBOHCI  AppleUSBOHCI
      OHCI Root Hub Simulation@9  IOUSBRootHubDevice
        AppleUSBHub  AppleUSBHub
  usb@A  IOPCIDevice
    AppleUSBOHCI  AppleUSBOHCI
      OHCI Root Hub Simulation@A  IOUSBRootHubDevice
        AppleUSBHub  AppleUSBHub
pci@A  IOPCIDevice
  ethernet@F  IOPCIDevice
    K2GMAC  K2GMAC
      IOEthernetInterface  IOEthernetInterface
        IONetworkStack  IONetworkStack
          IONetworkStackUserClient  IONetworkStackUserClient
"""

RESOURCES = """
com_apple_BootCache  com_apple_BootCache
IONetworkStack  IONetworkStack
  IONetworkStackUserClient  IONetworkStackUserClient
"""


def add_outline(parent, lines):
    """Adds the entries that such lines list below an entry."""
    above = [(-1, parent)]
    for line in filter(str.strip, lines.splitlines()):
        indentation = len(line) - len(line.lstrip())
        name, class_name, *count = re.split("  +", line.strip())
        while above[-1][0] >= indentation:
            above.pop()
        for _ in range(int(*count or [1])):
            entry = above[-1][1].below(make(name, class_name))
        above.append((indentation, entry))


def make(name, class_name):
    """An entry with what its class has at the least."""
    name, _, location = name.partition("@")
    if class_name not in NODES:
        return Entry(class_name, name, {"IOClass": class_name}, location=location or None)
    return Entry(class_name, name, {"name": text(name)}, location=location or None, tree=(name, location or None))
