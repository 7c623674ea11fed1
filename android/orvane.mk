# SPDX-License-Identifier: Apache-2.0
# Takes the spatializer into a product: $(call inherit-product, external/liborvane/android/orvane.mk), with the
# path of your checkout. audio_effects.xml and the audio policy are the device's to edit, see docs/android.md.
# Not tried on a device.

PRODUCT_PACKAGES += liborvane

# Read by the framework at boot. The effect lists transaural rendering and renders for headphones, so that
# loudspeakers start without it (Android 13).
PRODUCT_VENDOR_PROPERTIES += \
    ro.audio.spatializer_enabled=true \
    ro.audio.headtracking_enabled=true \
    ro.audio.spatializer_transaural_enabled_default=false

# Headphones with a head tracker (Android 13).
PRODUCT_COPY_FILES += \
    frameworks/native/data/etc/android.hardware.sensor.dynamic.head_tracker.xml:$(TARGET_COPY_OUT_VENDOR)/etc/permissions/android.hardware.sensor.dynamic.head_tracker.xml
