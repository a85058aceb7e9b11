#pragma once

#import <Foundation/Foundation.h>

// The part of UIKit that the adapters for iOS use.
@interface UIApplication : NSObject
@property(class, readonly) UIApplication* sharedApplication;
- (void)openURL:(NSURL*)url
              options:(NSDictionary<NSString*, id>*)options
    completionHandler:(void (^)(BOOL success))completion;
@end

extern "C" NSString* const UIPasteboardOptionExpirationDate;
extern "C" NSString* const UIPasteboardOptionLocalOnly;

@interface UIPasteboard : NSObject
@property(class, readonly) UIPasteboard* generalPasteboard;
@property(copy) NSString* string;
@property(copy) NSArray<NSDictionary<NSString*, id>*>* items;
@property(readonly) NSInteger changeCount;
- (void)setItems:(NSArray<NSDictionary<NSString*, id>*>*)items options:(NSDictionary<NSString*, id>*)options;
@end
